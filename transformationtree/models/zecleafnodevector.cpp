#include "transformationtree/models/zecleafnodevector.h"

#include "platform/base/cbexceptionstream.h"
#include "transformationtree/nodes/internal/fixedplaces.h"
#include "transformationtree/walks/zectransformationnodeiterators.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <string>
#include <utility>

namespace
{

using Elements = ZeCNodeVector::Elements;

constexpr std::uint32_t c_version = 2; // 1 had no revisions

// An id, a version and 16 values.
constexpr std::size_t c_leastBytesPerElement = sizeof(CyUniqueID) + 4 + sizeof(CbMatrix4Rd);

template<class Iterator, class Visit>
void visitAll(Iterator iterator, const Visit& visit)
{
    for (; iterator; ++iterator) visit(*iterator);
}

// Both versions are a count and so many elements, which differ in what they hold.
template<class Write>
void writeElements(CbStreamWriteBinary& stream, const Elements& elements, Write write)
{
    if (elements.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw CbExceptionStream(CB_HERE, std::to_string(elements.size()) +
                                             " nodes are too many to be stored");
    }
    stream << static_cast<std::uint32_t>(elements.size());
    for (const auto& element : elements) write(element);
}

template<class Read>
void readElements(CbStreamReadBinary& stream, Elements& elements, Read read)
{
    // Read one by one into the vector: those that came before the stream ends are kept.
    elements.clear();
    std::uint32_t count = 0;
    stream >> count;
    // A count that is not true takes no more memory than the stream has bytes for.
    elements.reserve(std::min<std::size_t>(count, stream.Remaining() / c_leastBytesPerElement));
    for (; count != 0; --count) {
        ZeCNodeAccelerated element;
        read(element);
        elements.push_back(std::move(element));
    }
}

} // namespace

const CbRTTI ZeCNodeVector::RTTI(CB_TEXT("ZeCNodeVector"), &CreateByFactory, &CloneByFactory);

ZeCNodeVector::ZeCNodeVector(const CbSmartPointer<const ZeCTransformationNode>& node,
                             IteratorType type, const CbMatrix4Rd& matrix,
                             unsigned int revisionMask)
{
    SetInnerNode(node, type, matrix, revisionMask);
}

ZeCNodeVector::~ZeCNodeVector() = default;

std::vector<CbSmartPointer<const QMT_DepthImage>> ZeCNodeVector::GetDepthImageVector() const
{
    std::vector<CbSmartPointer<const QMT_DepthImage>> images;
    for (const auto& element : elements_) {
        const auto& model = element.GetModel();
        if (!model || !model->Is(QMT_DepthImage::RTTI)) continue;
        images.push_back(CbStaticPointerCast<const QMT_DepthImage>(model));
    }
    return images;
}

void ZeCNodeVector::SetInnerNode(const CbSmartPointer<const ZeCTransformationNode>& node,
                                 IteratorType type, const CbMatrix4Rd& matrix,
                                 unsigned int revisionMask)
{
    // Put together beside the present ones, which stay if a walk meets a singular transformation.
    Elements elements;
    const auto add = [&](const ZeCTransformationNodeWithTrafo& place) {
        elements.emplace_back(place.GetNode(), Compose(place.GetTrafo(), matrix));
    };
    // Nothing that is collected stands below something else that is.
    const auto addApart = [&](const ZeCTransformationNodeWithTrafo& place) {
        add(place);
        elements.back().takeRevisions(revisionMask);
    };
    if (node) {
        switch (type) { // other values name no nodes
        case itCachedLeaf:
            visitAll(node->BeginCachedLeaf(), addApart);
            break;
        case itLeaf:
            visitAll(node->BeginLeaf(), addApart);
            break;
        case itNode:
            visitAll(node->BeginNode(), add);
            takeRevisionsOfAll(elements, revisionMask);
            break;
        }
    }
    elements_.swap(elements);
}

// Each revision goes up one level at a time, from the last element to the first: a node's children
// come behind it, so they have all that is below them by then.
void ZeCNodeVector::takeRevisionsOfAll(Elements& elements, unsigned int mask)
{
    if (mask == 0) return;
    // Which element lists each of them, from the numbers of entries: stale ones name other fathers.
    struct Level
    {
        std::size_t father;
        std::ptrdiff_t entriesLeft;
    };
    std::vector<Level> path;
    std::vector<std::size_t> fathers(elements.size());
    for (std::size_t i = 0; i < elements.size(); ++i) {
        while (!path.empty() && path.back().entriesLeft == 0) path.pop_back();
        if (!path.empty()) {
            fathers[i] = path.back().father;
            --path.back().entriesLeft;
        }
        const auto* const inner = std::as_const(*elements[i].GetNode()).AsInner();
        if (inner == nullptr) continue;
        const auto isNode = [](const auto& child) { return child != nullptr; };
        path.push_back({i, std::count_if(inner->BeginChild(), inner->EndChild(), isNode)});
    }
    for (std::size_t i = elements.size(); i-- > 0;) {
        elements[i].raiseToOwnRevisions(mask);
        if (i > 0) elements[fathers[i]].raiseRevisions(elements[i]);
    }
}

void ZeCNodeVector::AddNode(CbSmartPointer<ZeCTransformationNode> node, const CbMatrix4Rd& trafo)
{
    elements_.emplace_back(std::move(node), trafo);
}

void ZeCNodeVector::Serialize(CbStreamWriteBinary& stream) const
{
    stream.WriteVersion(c_version);
    writeVersion2(stream);
}

void ZeCNodeVector::Serialize(CbStreamReadBinary& stream)
{
    constexpr FixedPlace place = FixedPlaces::c_nodeVectorVersion;
    const auto version = stream.ReadKnownVersion(1, c_version, place.file, place.line);
    version == 1 ? readVersion1(stream) : readVersion2(stream);
}

void ZeCNodeVector::writeVersion1(CbStreamWriteBinary& stream) const
{
    writeElements(stream, elements_, [&](const auto& element) { element.writeNode(stream); });
}

void ZeCNodeVector::writeVersion2(CbStreamWriteBinary& stream) const
{
    writeElements(stream, elements_, [&](const auto& element) {
        element.writeNode(stream);
        element.writeRevisions(stream);
    });
}

void ZeCNodeVector::readVersion1(CbStreamReadBinary& stream)
{
    readElements(stream, elements_, [&](auto& element) { element.readNode(stream); });
}

void ZeCNodeVector::readVersion2(CbStreamReadBinary& stream)
{
    readElements(stream, elements_, [&](auto& element) {
        element.readNode(stream);
        element.readRevisions(stream);
    });
}
