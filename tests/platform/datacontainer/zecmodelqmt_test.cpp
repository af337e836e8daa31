#include "platform/datacontainer/qmt_depthimage.h"
#include "platform/datacontainer/zecmodelqmt.h"

#include <gtest/gtest.h>
#include <set>

TEST(ClonedModel, HasAnIdOfItsOwnAndTheSameProperties)
{
    const auto model = CbMake<QMT_DepthImage>(CbMake<ZeCSurfelCollectionQMT>(), false);
    model->SetDescription(CB_TEXT("upper jaw"));
    model->SetAcquireSequenceNumber(~0ULL);
    const CbSmartPointer<IObject> object(model->GetRTTI().getClone()(*model));
    const auto clone = CbDynamicPointerCast<ZeCModelQMT>(object);
    ASSERT_TRUE(clone);
    EXPECT_EQ(CString(CB_TEXT("upper jaw")), clone->GetDescription());
    EXPECT_EQ(~0ULL, clone->GetAcquireSequenceNumber());
    EXPECT_TRUE(clone->Is(QMT_DepthImage::RTTI));
    const std::set<CyUniqueID> ids{CyUniqueID(), model->GetID(), clone->GetID()};
    EXPECT_EQ(3U, ids.size());
}
