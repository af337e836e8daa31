#include "platform/datacontainer/qmt_depthimage.h"
#include "platform/datacontainer/zecmodelqmt.h"
#include "tests/platform/datacontainer/surfels.h"

#include <barrier>
#include <gtest/gtest.h>
#include <set>
#include <thread>
#include <vector>

namespace
{

using Type = ZeCModelQMT::ESurfelCollectionType;

CbSmartPointer<ZeCModelQMT> Clone(const ZeCModelQMT& model)
{
    const CbSmartPointer<IObject> object(model.GetRTTI().getClone()(model));
    return CbDynamicPointerCast<ZeCModelQMT>(object);
}

} // namespace

TEST(ModelCollections, AreAnsweredByType)
{
    const auto a = CbMake<ZeCSurfelCollectionQMT>();
    const auto b = CbMake<ZeCSurfelCollectionQMT>();
    const ZeCSurfelCollectionQMT* none = nullptr;
    struct Case
    {
        const char* name;
        CbSmartPointer<ZeCModelQMT> model;
        const ZeCSurfelCollectionQMT* standard;
        const ZeCSurfelCollectionQMT* accurate;
    };
    const Case cases[] = {
        {"empty", CbMake<ZeCModelQMT>(), none, none},
        {"standard alone", CbMake<ZeCModelQMT>(a, false), a.Get(), none},
        {"one for both", CbMake<ZeCModelQMT>(a, true), a.Get(), a.Get()},
        {"one each", CbMake<ZeCModelQMT>(a, b), a.Get(), b.Get()},
        {"accurate alone", CbMake<ZeCModelQMT>(nullptr, b), none, b.Get()},
        {"depth image", CbMake<QMT_DepthImage>(a, true), a.Get(), a.Get()},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        for (const auto& model : {c.model, Clone(*c.model)}) {
            EXPECT_EQ(c.standard, model->GetSurfelCollection(Type::Standard).Get());
            EXPECT_EQ(c.accurate, model->GetSurfelCollection(Type::Accurate).Get());
            EXPECT_EQ(c.accurate, model->BorrowSurfelCollection(Type::Accurate));
            for (const int other : {-1, 0, 2, 4, 257}) {
                EXPECT_EQ(nullptr, model->GetSurfelCollection(static_cast<Type>(other)));
            }
        }
    }
}

TEST(ClonedModel, HasAnIdOfItsOwnAndTheSameProperties)
{
    const auto model = CbMake<QMT_DepthImage>(CbMake<ZeCSurfelCollectionQMT>(), false);
    model->SetDescription(CB_TEXT("upper jaw"));
    model->SetAcquireSequenceNumber(~0ULL);
    const auto clone = Clone(*model);
    EXPECT_EQ(CString(CB_TEXT("upper jaw")), clone->GetDescription());
    EXPECT_EQ(~0ULL, clone->GetAcquireSequenceNumber());
    EXPECT_TRUE(clone->Is(QMT_DepthImage::RTTI));
    const std::set<CyUniqueID> ids{CyUniqueID(), model->GetID(), clone->GetID()};
    EXPECT_EQ(3U, ids.size());
}

TEST(ModelTypes, AreMadeByName)
{
    for (const CbRTTI* type :
         {&ZeCModelQMT::RTTI, &QMT_DepthImage::RTTI, &ZeCSurfelCollectionQMT::RTTI}) {
        const CbSmartPointer<IObject> object(CbRTTI::getCreate(CString(type->GetName()))());
        EXPECT_TRUE(object->Is(*type));
    }
    EXPECT_TRUE(QMT_DepthImage::RTTI.IsKindOf(ZeCModelQMT::RTTI));
    EXPECT_TRUE(ZeCSurfelCollectionQMT::RTTI.IsKindOf(CySurfelCollectionBase::RTTI));
}

TEST(ModelDescriptionThreads, ReadWholeTextsWhileOthersWrite)
{
    const CbSmartPointer<const ZeCModelQMT> model = CbMake<ZeCModelQMT>();
    const CString texts[] = {CString(CB_TEXT("a text that is too long to be kept in place")),
                             CString(CB_TEXT("short")), CString()};
    std::barrier start(4);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            for (int i = 0; i < 2000; ++i) {
                if (t < 2) {
                    model->SetDescription(texts[(i + t) % 3]);
                } else {
                    const CString text = model->GetDescription();
                    EXPECT_TRUE(text == texts[0] || text == texts[1] || text == texts[2]);
                }
            }
        });
    }
    for (auto& thread : threads) thread.join();
}
