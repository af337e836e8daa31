#include "platform/base/cbexceptionstream.h"
#include "platform/base/cbexceptionwrongfileversion.h"
#include "platform/datacontainer/models/qmt_depthimage.h"
#include "platform/datacontainer/models/zecmodelserializationidmapper.h"
#include "platform/datatree/cynode.h"
#include "tests/platform/datacontainer/surfels.h"
#include "tests/support/storedbytes.h"

#include <cstring>
#include <typeinfo>

namespace
{

using EType = ZeCModelQMT::ESurfelCollectionType;
using Model = ZeCModelSerializationIDMapper::Model;
using Collection = CbSmartPointer<const ZeCSurfelCollectionQMT>;

class StoredModels : public testing::Test
{
protected:
    ~StoredModels() override { mapper().ClearMapping(); }

    static ZeCModelSerializationIDMapper& mapper()
    {
        return CbSingleton<ZeCModelSerializationIDMapper>::GetInstance();
    }
    static Bytes stored(const Model& model)
    {
        return Stored([&](auto& stream) { mapper().WriteModel(stream, model); });
    }
    static Model read(const Bytes& bytes)
    {
        Model model;
        ReadFrom(bytes, [&](auto& stream) { model = mapper().ReadModel(stream); });
        return model;
    }
    static std::size_t countMapped()
    {
        CbArray<CyUniqueID> ids;
        mapper().ListMappedModelIDs(ids);
        return ids.GetCount();
    }

    std::mt19937 random{1};
};

TEST_F(StoredModels, ComeBackAsAWholeAndAreFoundByTheirIds)
{
    const Collection many = RandomSurfels(random, 300);
    const Collection few = RandomSurfels(random, 2);
    const struct
    {
        const char* name;
        Collection standard;
        Collection accurate;
    } cases[] = {{"none", nullptr, nullptr},
                 {"standard", many, nullptr},
                 {"accurate", nullptr, few},
                 {"two", many, few},
                 {"one for both", many, many}};
    for (const auto& [name, standard, accurate] : cases) {
        SCOPED_TRACE(name);
        const auto written = CbMake<QMT_DepthImage>(standard, accurate);
        written->SetDescription(CB_TEXT("upper jaw"));
        written->SetAcquireSequenceNumber(~0ULL);
        const Bytes bytes = stored(written);
        EXPECT_EQ(mapper().GetModel(written->GetID()), written) << "writing maps too";
        const Model model = read(bytes);
        EXPECT_EQ(mapper().GetModel(written->GetID()), model) << "in place of the other";
        EXPECT_NE(model, written);
        EXPECT_TRUE(model->Is(QMT_DepthImage::RTTI));
        EXPECT_EQ(model->GetDescription(), written->GetDescription());
        EXPECT_EQ(model->GetAcquireSequenceNumber(), ~0ULL);
        for (const EType type : {EType::Standard, EType::Accurate}) {
            const auto expected = written->GetSurfelCollection(type);
            const auto actual = model->GetSurfelCollection(type);
            ASSERT_EQ(static_cast<bool>(actual), static_cast<bool>(expected));
            if (expected) ExpectSameSurfels(*expected, *actual);
        }
        EXPECT_EQ(model->GetSurfelCollection(EType::Standard) ==
                      model->GetSurfelCollection(EType::Accurate),
                  standard == accurate);
    }
    EXPECT_EQ(countMapped(), std::size(cases));

    const Model model = CbMake<ZeCModelQMT>();
    const CbSmartPointer<IObject> clone(model->GetRTTI().getClone()(*model));
    EXPECT_NE(CbDynamicPointerCast<ZeCModelQMT>(clone)->GetID(), model->GetID());
    const auto surfels = CbMake<ZeCSurfelCollectionQMT>();
    EXPECT_THROW((void)ZeCSurfelCollectionQMT::CloneByFactory(*model), std::bad_cast);
    EXPECT_THROW((void)ZeCModelQMT::CloneByFactory(*surfels), std::bad_cast);
    EXPECT_THROW((void)QMT_DepthImage::CloneByFactory(*model), std::bad_cast)
        << "only a base of it";
    EXPECT_THROW((void)CyNode::CloneByFactory(*model), std::bad_cast);
}

TEST_F(StoredModels, ThatAreSpoiltAreRefusedAndNotMapped)
{
    const Bytes bytes = stored(CbMake<ZeCModelQMT>(RandomSurfels(random, 1), true));
    Bytes none = stored(CbMake<ZeCModelQMT>());
    mapper().ClearMapping();
    ExpectCutsThrow<CbExceptionStream>(bytes, [](const Bytes& cut) { (void)read(cut); });
    // Behind the name of 11 units: version, id, description, number, standard and accurate.
    constexpr std::size_t c_version = 26;
    constexpr std::size_t c_standard = c_version + 4 + 16 + 4 + 8;
    const auto with = [&](std::size_t place, std::uint32_t value) {
        Bytes changed = bytes;
        std::memcpy(&changed[place], &value, sizeof value);
        return changed;
    };
    for (const std::uint32_t version : {0U, 2U}) {
        EXPECT_THROW((void)read(with(c_version, version)), CbExceptionWrongFileVersion);
    }
    for (const std::uint32_t kind : {2U, 3U}) { // as the standard one, which it is; unknown
        EXPECT_THROW((void)read(with(c_standard, kind)), CbExceptionStream) << kind;
    }
    none[none.size() - 4] = 2;
    EXPECT_THROW((void)read(none), CbExceptionStream) << "as the standard one, where there is none";
    Bytes nil = bytes;
    std::fill_n(nil.begin() + c_version + 4, 16, std::uint8_t{0});
    EXPECT_THROW((void)read(nil), CbExceptionStream) << "it would stand for no model";
    for (const auto* name : {CB_TEXT("NobodyKnows"), CB_TEXT("ZeCSurfelCollectionQMT")}) {
        EXPECT_THROW((void)read(Stored([&](auto& stream) { stream << CString(name); })),
                     CbException);
    }
    EXPECT_THROW((void)stored(nullptr), CbException);
    EXPECT_EQ(countMapped(), 0U);
}

} // namespace
