// Announcements, models, structure records and attributes as they come. An input is a row of steps:
// a letter that says what to read, then the record; in front of a structure or an attribute record
// stands a byte that picks the node.

#include "platform/base/cbexception.h"
#include "tests/fuzz/fuzzing.h"
#include "tests/fuzz/treewalks.h"
#include "tests/sessionfile/sessionrecords.h"

namespace
{

/// Expects that nothing is mapped where reading fails.
template<class Read>
auto readMapped(const Read& read)
{
    const std::size_t mapped = CountMapped();
    try {
        return read();
    } catch (const CbException&) {
        EXPECT_EQ(CountMapped(), mapped);
        throw;
    }
}

/// Reads one input.
class Steps
{
public:
    explicit Steps(std::span<const std::uint8_t> bytes) : stream_(bytes) {}
    Steps(const Steps&) = delete;
    Steps& operator=(const Steps&) = delete;
    /// Rings would keep themselves alive.
    ~Steps()
    {
        for (const auto& inner : inners_) TestAccess::Children(*inner).Clear();
        ClearMappers();
    }

    void Read()
    {
        while (stream_.Remaining() != 0) {
            try {
                read(readByte());
            } catch (const CbException&) { // the next step begins where it stopped
            }
        }
    }

    void Walk() const
    {
        for (const auto& inner : inners_) {
            if (inner->GetFather()) continue;
            if (const std::size_t count = CountTree(inner)) WalkTree(inner, count);
        }
    }

private:
    std::uint8_t readByte()
    {
        std::uint8_t byte = 0;
        stream_.ReadBuffer(&byte, 1);
        return byte;
    }

    void read(std::uint8_t step)
    {
        if (step == 'n') {
            const Node node =
                readMapped([&] { return NodeMapper().ReadNodeAndInstantiate(stream_); });
            nodes_.push_back(node);
            if (!node->IsLeaf()) {
                inners_.push_back(CbStaticPointerCast<ZeCTransformationNodeInner>(node));
            }
            EXPECT_EQ(NodeMapper().GetNode(node->GetID()), node->GetID().IsNil() ? nullptr : node);
        } else if (step == 'm') {
            const Model model = readMapped([&] { return ModelMapper().ReadModel(stream_); });
            EXPECT_EQ(ModelMapper().GetModel(model->GetID()), model);
        } else if (!nodes_.empty() && (step == 's' || step == 'a')) {
            ZeCTransformationNode& node = *nodes_[readByte() % nodes_.size()];
            step == 's' ? readStructure(node) : node.SerializeAttributes(stream_);
        }
    }

    /// What was read is written as it was, but for a leaf's flag that version 1 had not.
    void readStructure(ZeCTransformationNode& node)
    {
        const std::size_t before = stream_.Remaining();
        try {
            node.SerializeStructure(stream_);
        } catch (const CbException&) {
            (void)StructureOf(node); // what it kept of itself and of the record is whole
            throw;
        }
        const Bytes record = StructureOf(node);
        EXPECT_LE(record.size() - (before - stream_.Remaining()), node.IsLeaf() ? 1U : 0U);
        const CbSmartPointer<IObject> made(node.GetRTTI().getCreate()());
        const auto copy = CbDynamicPointerCast<ZeCTransformationNode>(made);
        EXPECT_EQ(ReadStructure(*copy, record), 0U);
        const std::size_t children = node.IsLeaf() ? 0 : inner(node).GetNrChildren();
        EXPECT_EQ(withoutLinks(StructureOf(*copy), children), withoutLinks(record, children));
    }

    /// A node that is mapped by one id may have become another by its record: then the ids of
    /// father, model and children do not lead back to them.
    static Bytes withoutLinks(const Bytes& record, std::size_t children)
    {
        constexpr std::size_t c_id = sizeof(CyUniqueID);
        return {record.begin() + 4 + 2 * c_id,
                record.end() - static_cast<std::ptrdiff_t>(children * c_id)};
    }

    static const ZeCTransformationNodeInner& inner(const ZeCTransformationNode& node)
    {
        return static_cast<const ZeCTransformationNodeInner&>(node);
    }

    CyStreamReadBinaryBuffer stream_;
    std::vector<Node> nodes_;
    std::vector<Inner> inners_; ///< among the nodes
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const LittleMemory memory(size);
    Steps steps({data, size});
    steps.Read();
    steps.Walk();
    return 0;
}
