#pragma once

#include "platform/datatree/cydatamanager.h"
#include "platform/datatree/cyunittest.h"
#include "transformationtree/transformationtreeapi.h"

/// A self-test of the node manager's locks for an application to run.
///
/// Its one subtest, "AirNodeLockTest", has one thread move a leaf between two fathers under write
/// locks on both, while another one waits for a read lock on the leaf.
///
/// The root that it builds and the manager's link stay set, so that the tree can be looked at. Who
/// runs the test again first unsets both, the root under a write lock. If the manager is linked
/// already, or has a root, the test fails and leaves it alone.
///
/// Threads: the thread that runs the test has no handle of the data manager, locked or not.
class TRANSFORMATIONTREE_API ZeCTransformationNodeManager_UnitTest : public CyUnitTest
{
public:
    /// @param dataManager must stay as long as the node manager is linked to it
    /// @param dataNode node of that data manager, below which the test puts its root
    ZeCTransformationNodeManager_UnitTest(CyDataManager& dataManager,
                                          CbSmartPointer<CyNode> dataNode);
    ~ZeCTransformationNodeManager_UnitTest() override;

protected:
    [[nodiscard]] std::size_t getNumberOfSubtests() const override { return 1; }
    [[nodiscard]] std::string getSubtestName(std::size_t index) const override;
    bool runUnitTest(const std::string& subtest) override;

private:
    void runAirNodeTest();

    CyDataManager& dataManager_;
    CbSmartPointer<CyNode> dataNode_;
};
