#include "transformationtree/models/zecnodeaccelerated.h"

#include "platform/math3d/cbmatrix4stream.h"
#include "transformationtree/nodes/internal/revisionstream.h"
#include "transformationtree/nodes/zectransformationnodeserializationidmapper.h"

#include <algorithm>
#include <utility>

namespace
{

auto& mapper() { return CbSingleton<ZeCTransformationNodeSerializationIDMapper>::GetInstance(); }

} // namespace

ZeCNodeAccelerated::ZeCNodeAccelerated(CbSmartPointer<ZeCTransformationNode> node,
                                       const CbMatrix4Rd& trafo)
    : node_(std::move(node)), trafo_(trafo)
{
    if (node_) model_ = node_->GetModel();
    if (model_) {
        collection_ = model_->GetSurfelCollection(ZeCModelQMT::ESurfelCollectionType::Standard);
    }
}

void ZeCNodeAccelerated::takeRevisions(unsigned int mask)
{
    for (std::size_t slot = 0; slot < revisions_.size(); ++slot) {
        const unsigned int bit = 1U << slot;
        if ((mask & bit) != 0) revisions_[slot] = node_->GetNodeRevisionSubtree(bit);
    }
}

void ZeCNodeAccelerated::raiseToOwnRevisions(unsigned int mask)
{
    for (std::size_t slot = 0; slot < revisions_.size(); ++slot) {
        const unsigned int bit = 1U << slot;
        if ((mask & bit) == 0) continue;
        revisions_[slot] = std::max(revisions_[slot], node_->GetNodeRevision(bit));
    }
}

void ZeCNodeAccelerated::raiseRevisions(const ZeCNodeAccelerated& below) noexcept
{
    for (std::size_t slot = 0; slot < revisions_.size(); ++slot) {
        revisions_[slot] = std::max(revisions_[slot], below.revisions_[slot]);
    }
}

void ZeCNodeAccelerated::writeNode(CbStreamWriteBinary& stream) const
{
    mapper().WriteNodeByReference(stream, node_);
    WriteMatrix(stream, trafo_);
}

void ZeCNodeAccelerated::readNode(CbStreamReadBinary& stream)
{
    auto node = mapper().ReadNodeByReference(stream);
    CbMatrix4Rd trafo;
    ReadMatrix(stream, trafo);
    // Model and collection are not stored: they come from the node, if that is known.
    *this = ZeCNodeAccelerated(std::move(node), trafo);
}

void ZeCNodeAccelerated::writeRevisions(CbStreamWriteBinary& stream) const
{
    stream << static_cast<std::uint32_t>(revisions_.size());
    for (const auto revision : revisions_) WriteRevision(stream, revision);
}

void ZeCNodeAccelerated::readRevisions(CbStreamReadBinary& stream)
{
    // The record says how many it has. Slots beyond them stay as they are.
    std::uint32_t count = 0;
    stream >> count;
    for (std::size_t slot = 0; slot < count && slot < revisions_.size(); ++slot) {
        ReadRevision(stream, revisions_[slot]);
    }
}
