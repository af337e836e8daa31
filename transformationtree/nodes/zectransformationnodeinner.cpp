#include "transformationtree/nodes/zectransformationnodeinner.h"

#include "platform/base/cbexceptionstream.h"
#include "transformationtree/nodes/internal/fixedplaces.h"
#include "transformationtree/nodes/internal/revisionstream.h"
#include "transformationtree/nodes/internal/subtreewalk.h"
#include "transformationtree/nodes/zectransformationnodeserializationidmapper.h"

#include <algorithm>
#include <limits>
#include <string>

namespace
{

constexpr std::uint32_t c_version = 1;

} // namespace

const CbRTTI ZeCTransformationNodeInner::RTTI(CB_TEXT("ZeCTransformationNodeInner"),
                                              &CreateByFactory, &CloneByFactory,
                                              &ZeCTransformationNode::RTTI);

ZeCTransformationNodeInner::ZeCTransformationNodeInner() : CbClonableObject(EKind::Inner) {}

ZeCTransformationNodeInner::ZeCTransformationNodeInner(const ZeCTransformationNodeInner& other)
    : CbClonableObject(other), children_(other.children_), modelRevision_(other.modelRevision_)
{}

ZeCTransformationNodeInner::~ZeCTransformationNodeInner() = default;

// Takes the place of the destructor's recursion: a node is destroyed only when its children are
// gone, and it loses them here, one after the other.
void ZeCTransformationNodeInner::operator delete(ZeCTransformationNodeInner* node,
                                                 std::destroying_delete_t)
{
    static_assert(alignof(ZeCTransformationNodeInner) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
    // The innermost dying node of this thread that still has children; each names the one above it.
    // A child whose last reference goes here puts itself on top and is freed by the same loop.
    thread_local ZeCTransformationNodeInner* dying = nullptr;
    thread_local bool freeing = false;

    node->nextDying_ = dying;
    dying = node;
    node->children_.Reverse(); // the first one goes first
    if (freeing) return;

    freeing = true;
    while (dying != nullptr) {
        ZeCTransformationNodeInner* const top = dying;
        // A child that dies by this is on top when the loop comes round.
        if (!top->children_->empty()) {
            (void)top->children_.TakeLast();
            continue;
        }
        dying = top->nextDying_;
        top->~ZeCTransformationNodeInner();
        ::operator delete(top);
    }
    freeing = false;
}

ZeCTransformationNodeInner::ChildIterator ZeCTransformationNodeInner::LastChild() noexcept
{
    return children_->empty() ? children_.end() : children_.end() - 1;
}

ZeCTransformationNodeInner::ConstChildIterator
ZeCTransformationNodeInner::LastChild() const noexcept
{
    return children_->empty() ? children_->end() : children_->end() - 1;
}

ZeCTransformationNodeInner::ChildIterator ZeCTransformationNodeInner::FindChild(
    const CbSmartPointer<const ZeCTransformationNode>& child) noexcept
{
    return std::find(children_.begin(), children_.end(), child);
}

ZeCTransformationNodeInner::ConstChildIterator ZeCTransformationNodeInner::FindChild(
    const CbSmartPointer<const ZeCTransformationNode>& child) const noexcept
{
    return std::find(children_->begin(), children_->end(), child);
}

CbSmartPointer<ZeCTransformationNode> ZeCTransformationNodeInner::FrontChild() noexcept
{
    return children_->empty() ? nullptr : children_->front();
}

CbSmartPointer<const ZeCTransformationNode> ZeCTransformationNodeInner::FrontChild() const noexcept
{
    return children_->empty() ? nullptr : children_->front();
}

CbSmartPointer<ZeCTransformationNode> ZeCTransformationNodeInner::BackChild() noexcept
{
    return children_->empty() ? nullptr : children_->back();
}

CbSmartPointer<const ZeCTransformationNode> ZeCTransformationNodeInner::BackChild() const noexcept
{
    return children_->empty() ? nullptr : children_->back();
}

void ZeCTransformationNodeInner::ReserveChildren(unsigned long long number)
{
    children_.Reserve(number);
}

void ZeCTransformationNodeInner::SetModel(CbSmartPointer<const ZeCModelQMT> model,
                                          ZeTNodeRevision revision)
{
    modelRevision_ = revision;
    model_ = std::move(model);
}

void ZeCTransformationNodeInner::DeleteModel() { SetModel(nullptr, -1); }

void ZeCTransformationNodeInner::AssumeAttributes(
    const CbSmartPointer<const ZeCTransformationNode>& other, EAttributesToCopy what)
{
    const ZeCTransformationNodeInner* const inner = other ? other->AsInner() : nullptr;
    if (inner == nullptr) return;
    ZeCTransformationNode::AssumeAttributes(other, what);
    if (what == EAttributesToCopy::PropertiesAndModel &&
        inner->children_->size() == children_->size()) {
        SetModel(inner->model_, inner->modelRevision_);
    }
}

ZeTNodeRevision ZeCTransformationNodeInner::GetNodeRevisionSubtree(unsigned int mask) const
{
    ZeTNodeRevision newest = GetNodeRevision(mask);
    WalkBelow(*this, [&](const ZeCTransformationNode& node, const auto& /*father*/) {
        newest = std::max(newest, node.GetNodeRevision(mask));
        return EVisit::Enter;
    });
    return newest;
}

void ZeCTransformationNodeInner::UpdateNodeRevisionSubtree(ZeTNodeRevision* out)
{
    // Post-order: a level is done, and handed to the one above it, when its children are.
    struct Level
    {
        ZeCTransformationNodeInner* node;
        std::size_t nextChild;
        Revisions newest;
    };
    std::vector<Level> path{{this, 0, getRevisions()}};
    for (;;) {
        Level& top = path.back();
        if (top.nextChild < top.node->children_->size()) {
            ZeCTransformationNode* const child = (*top.node->children_)[top.nextChild++].Get();
            if (child == nullptr) continue;
            if (ZeCTransformationNodeInner* const inner = child->AsInner()) {
                path.push_back({inner, 0, inner->getRevisions()});
                continue;
            }
            Revisions revisions{};
            child->UpdateNodeRevisionSubtree(revisions.data());
            for (std::size_t i : {0, 1}) top.newest[i] = std::max(top.newest[i], revisions[i]);
            continue;
        }
        const auto result = top.node->raiseRevisions(top.newest);
        path.pop_back();
        if (path.empty()) {
            if (out != nullptr) std::copy(result.begin(), result.end(), out);
            return;
        }
        auto& father = path.back().newest;
        for (std::size_t i : {0, 1}) father[i] = std::max(father[i], result[i]);
    }
}

void ZeCTransformationNodeInner::SerializeStructure(CbStreamWriteBinary& stream) const
{
    // Before the first byte is written.
    if (children_->size() > std::numeric_limits<std::uint32_t>::max()) {
        throw CbExceptionStream(CB_HERE, std::to_string(children_->size()) +
                                             " children are too many to be stored");
    }
    ZeCTransformationNode::SerializeStructure(stream);
    stream << c_version;
    WriteRevision(stream, modelRevision_);
    stream << static_cast<std::uint32_t>(children_->size());
    for (const auto& child : *children_) GetIDOf(child.Get()).Serialize(stream);
}

void ZeCTransformationNodeInner::SerializeStructure(CbStreamReadBinary& stream)
{
    ZeCTransformationNode::SerializeStructure(stream);
    constexpr FixedPlace place = FixedPlaces::c_innerNodeVersion;
    stream.ReadKnownVersion(c_version, c_version, place.file, place.line);
    std::uint32_t count = 0;
    ReadRevision(stream, modelRevision_);
    stream >> count;
    children_.Clear();
    // No more room than the bytes that are left can pay for, whatever the count says.
    children_.Reserve(std::min<std::size_t>(count, stream.Remaining() / sizeof(CyUniqueID)));
    const auto& mapper = CbSingleton<ZeCTransformationNodeSerializationIDMapper>::GetInstance();
    for (; count != 0; --count) {
        children_.Insert(children_->size(), mapper.ReadNodeByReference(stream));
    }
}
