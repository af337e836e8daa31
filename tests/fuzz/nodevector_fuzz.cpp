// Records of node vectors. Two leaves with a model are mapped, as for the golden files.

#include "platform/base/cbexceptionstream.h"
#include "platform/base/cbexceptionwrongfileversion.h"
#include "tests/fuzz/fuzzing.h"
#include "tests/transformationtree/nodes/mappedrecords.h"
#include "transformationtree/models/zecleafnodevector.h"

#include <cstring>

namespace
{

void expectElements(const ZeCNodeVector& vector)
{
    for (const auto& element : vector.GetElements()) {
        const Node& node = element.GetNode();
        EXPECT_EQ(node, node ? NodeMapper().GetNode(node->GetID()) : nullptr);
        EXPECT_EQ(element.GetModel(), node ? node->GetModel() : nullptr);
    }
    EXPECT_EQ(vector.GetDepthImageVector().size(), 0U) << "the model is none";
}

void readVector(const Bytes& bytes)
{
    ZeCNodeVector vector;
    vector.AddNode(NodeMapper().GetNode(CountingId(2)), c_matIdentityD);
    const Bytes before = RecordOf(vector);
    std::uint32_t count = 0;
    if (bytes.size() >= 8) std::memcpy(&count, &bytes[4], sizeof count);
    try {
        ReadRecord(vector, bytes);
        EXPECT_EQ(vector.GetElements().size(), count);
    } catch (const CbExceptionWrongFileVersion&) {
        EXPECT_EQ(RecordOf(vector), before);
    } catch (const CbExceptionStream&) {
        if (bytes.size() >= 8) {
            EXPECT_LT(vector.GetElements().size(), count);
        }
    }
    expectElements(vector);
    const Bytes record = RecordOf(vector);
    ZeCNodeVector again;
    EXPECT_EQ(ReadRecord(again, record), 0U);
    EXPECT_EQ(RecordOf(again), record);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const LittleMemory memory(size);
    const Model model = CbMake<ZeCModelQMT>();
    for (const unsigned digit : {2U, 3U}) {
        const Leaf leaf = CbMake<ZeCTransformationNodeLeaf>(model);
        TestAccess::SetId(*leaf, CountingId(digit));
        Map(leaf);
    }
    readVector({data, data + size});
    ClearMappers();
    return 0;
}
