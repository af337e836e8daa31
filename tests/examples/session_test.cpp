#include "examples/scansession/progress.h"
#include "examples/scansession/session.h"
#include "platform/base/cbexception.h"
#include "platform/base/cbsingleton.h"
#include "transformationtree/transformationtree.h"

#include <gmock/gmock.h>
#include <sstream>

using namespace scansession;

TEST(ASession, NumbersItsScansAndLeavesTheNodeManagerToTheNextOne)
{
    const auto& manager = CbSingleton<ZeCTransformationNodeManager>::GetInstance();
    for (int round = 0; round < 2; ++round) {
        Session session;
        session.Append(Scan());
        session.Append(Scan());
        EXPECT_EQ(manager.GetRootNode(), session.GetRoot());
        std::uint64_t number = 0;
        for (const auto& [leaf, trafo] : session.GetRoot()->Leaves()) {
            EXPECT_EQ(leaf.GetModel()->GetAcquireSequenceNumber(), number++);
        }
        EXPECT_EQ(number, 2U);
        EXPECT_THROW(Session(), CbException) << "two at a time";
    }
    EXPECT_FALSE(manager.GetRootNode());
}

TEST(PackedSurfels, KeepAllSevenAttributes)
{
    std::vector<Surfel> surfels(2);
    surfels[1] = {{1, 2, 3}, {0, -1, 0}, {9, 8, 7}, 0.2, Tissue::Gum, true, 77};
    const auto packed = PackSurfels(surfels);
    ASSERT_EQ(packed->GetNrSurfels(), 2U);
    EXPECT_EQ(packed->GetPositionAccessor()[1], (CbVector3f{1, 2, 3}));
    EXPECT_LT(packed->GetNormalAccessor()[1].GetNormal().y, -0.9998F);
    EXPECT_EQ(packed->GetColorAccessor()[1], (ZeCCompressedColor{9, 8, 7}));
    EXPECT_FLOAT_EQ(packed->GetQualityAccessor()[1], 0.2F);
    EXPECT_EQ(packed->GetTissueTypeAccessor()[1], 2);
    EXPECT_TRUE(packed->GetBoundaryFlagAccessor()[1]);
    EXPECT_FALSE(packed->GetBoundaryFlagAccessor()[0]);
    EXPECT_EQ(packed->GetCurvatureAccessor()[1], 77);
}

TEST(ProgressOfWork, IsDrawnOnTerminalsAndWipedAtTheEnd)
{
    std::ostringstream out;
    {
        Progress progress(out, ProgressStyle::Terminal, "working", 7);
        progress.Advance();
        EXPECT_EQ(out.str(), "\rworking: 1 of 7");
    }
    EXPECT_EQ(out.str().back(), '\r');
    EXPECT_EQ(out.str().find('\n'), std::string::npos);

    std::ostringstream log;
    for (const auto style : {ProgressStyle::None, ProgressStyle::Lines}) {
        Progress progress(log, style, "working", 1);
        progress.Advance();
    }
    EXPECT_EQ(log.str(), "") << "short work needs no lines";
}
