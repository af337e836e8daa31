#include "transformationtree/manager/zectransformationnodemanager_unittest.h"

#include "platform/base/cbevent.h"
#include "platform/base/cbexception.h"
#include "platform/base/cbthread.h"
#include "transformationtree/manager/internal/creatednodes.h"
#include "transformationtree/manager/zectransformationnodemanager.h"

#include <array>
#include <exception>
#include <utility>

namespace
{

using Manager = ZeCTransformationNodeManager;

constexpr const char* c_airNodeTest = "AirNodeLockTest";

// What the test moves, and from where to where.
struct AirNodes
{
    Manager::Inner root;
    Manager::Inner father1;
    Manager::Inner father2;
    Manager::Leaf child;
};

// The steps by which the main thread lets the workers go on, one at a time.
class Steps
{
public:
    static constexpr std::size_t c_count = 4;

    // Lets the worker go on whose step it is, and waits until it does.
    void Go(std::size_t step)
    {
        go_[step].Set();
        acknowledged_.Wait();
    }
    // Lets all workers run to their end.
    void GoOnToTheEnd()
    {
        for (CbEvent& go : go_) go.Set();
    }
    void Await(std::size_t step)
    {
        go_[step].Wait();
        acknowledged_.Set();
    }

private:
    std::array<CbEvent, c_count> go_;
    CbEvent acknowledged_;
};

// The two steps of one worker. Those that it does not come to are acknowledged at its end, or the
// main thread would wait for ever.
class WorkerSteps
{
public:
    WorkerSteps(Steps& steps, std::size_t first, std::size_t second)
        : steps_(steps), own_{first, second}
    {}
    WorkerSteps(const WorkerSteps&) = delete;
    WorkerSteps& operator=(const WorkerSteps&) = delete;
    ~WorkerSteps()
    {
        while (next_ < own_.size()) AwaitNext();
    }

    void AwaitNext() { steps_.Await(own_[next_++]); }

private:
    Steps& steps_;
    std::array<std::size_t, 2> own_;
    std::size_t next_ = 0;
};

Manager& manager() { return CbSingleton<Manager>::GetInstance(); }

std::string describe(const Manager::ConstNode& node)
{
    return node ? node->GetDescription().ToUtf8() : "(null)";
}

AirNodes buildTree()
{
    AirNodes nodes;
    CreatedNodes root(manager());
    nodes.root = root.CreateInner(CString());
    manager().SetRootNode(nodes.root);
    root.Keep();

    CreatedNodes below(manager());
    nodes.father1 = below.CreateInner(CB_TEXT("Father1"));
    nodes.father2 = below.CreateInner(CB_TEXT("Father2"));
    nodes.child = below.CreateLeaf(nullptr);
    nodes.child->SetDescription(CB_TEXT("Child"));

    const auto lock = manager().GetSingleWriteHandleLocked(nodes.root);
    manager().AppendChild(nodes.root, nodes.father1);
    manager().AppendChild(nodes.root, nodes.father2);
    manager().AppendChild(nodes.father1, nodes.child);
    below.Keep();
    return nodes;
}

void moveChild(CyUnitTest& test, Steps& allSteps, const Manager::Inner& father1,
               const Manager::Inner& father2)
{
    WorkerSteps steps(allSteps, 1, 3);
    const std::string name1 = describe(father1);
    const std::string name2 = describe(father2);
    const auto handle1 = manager().GetWriteHandle(father1);
    const auto handle2 = manager().GetWriteHandle(father2);
    test.Write(CyUnitTest::eInformation, "WriteHandles instantiated for for %s and %s",
               name1.c_str(), name2.c_str());

    steps.AwaitNext();
    try {
        manager().Lock();
    } catch (...) {
        test.Write(CyUnitTest::eError, "Lock() attemt failed with an exception.");
        test.SetError();
        return;
    }
    test.Write(CyUnitTest::eInformation, "WriteHandles granted for for %s and %s", name1.c_str(),
               name2.c_str());

    steps.AwaitNext();
    const Manager::Node child = father1->FrontChild();
    manager().MoveNode(father2, child, nullptr);
    const std::string childName = describe(child);
    test.Write(CyUnitTest::eInformation, "Node %s moved from %s to %s", childName.c_str(),
               name1.c_str(), name2.c_str());
    const Manager::Inner father = child->GetFather();
    if (father != father2) {
        test.Write(CyUnitTest::eError, "Node %s has wrong father. Should be %s but is %s",
                   childName.c_str(), name2.c_str(), describe(father).c_str());
        test.SetError();
    }
}

// May be granted its lock before the other worker is: the child has its old father then.
void readChild(CyUnitTest& test, const CbThread& thread, Steps& allSteps,
               const Manager::Leaf& child)
{
    WorkerSteps steps(allSteps, 0, 2);
    steps.AwaitNext();
    const auto handle = manager().GetReadHandle(child);
    test.Write(CyUnitTest::eInformation, "ReadHandle instantiated for %s (father=%s)",
               describe(child).c_str(), describe(child->GetFather()).c_str());

    steps.AwaitNext();
    try {
        manager().Lock();
    } catch (...) {
        test.Write(CyUnitTest::eError, "Call to Lock() failed with an exception!");
        test.SetError();
        return;
    }
    test.Write(CyUnitTest::eInformation, "Call to Lock() succeeded");
    test.Write(CyUnitTest::eInformation, "ReadLock granted for %s(father=%s)",
               describe(child).c_str(), describe(child->GetFather()).c_str());
    if (!thread.IsRunning()) test.SetError();
}

} // namespace

ZeCTransformationNodeManager_UnitTest::ZeCTransformationNodeManager_UnitTest(
    CyDataManager& dataManager, CbSmartPointer<CyNode> dataNode)
    : dataManager_(dataManager), dataNode_(std::move(dataNode))
{}

ZeCTransformationNodeManager_UnitTest::~ZeCTransformationNodeManager_UnitTest() = default;

std::string ZeCTransformationNodeManager_UnitTest::getSubtestName(std::size_t /*index*/) const
{
    return c_airNodeTest;
}

bool ZeCTransformationNodeManager_UnitTest::runUnitTest(const std::string& subtest)
{
    if (subtest != c_airNodeTest) return false;
    runAirNodeTest();
    return true;
}

void ZeCTransformationNodeManager_UnitTest::runAirNodeTest()
{
    if (!manager().SetDataManager(dataManager_, dataNode_)) {
        throw CbException(CB_HERE, "the node manager is linked to a data manager already, or the "
                                   "node is not in the one to be linked");
    }
    const AirNodes nodes = buildTree();

    Steps steps;
    CbThread writer(CB_TEXT("TestThread1"),
                    [this, &steps, father1 = nodes.father1, father2 = nodes.father2](CbThread&) {
                        moveChild(*this, steps, father1, father2);
                    });
    CbThread reader(CB_TEXT("TestThread2"), [this, &steps, child = nodes.child](CbThread& thread) {
        readChild(*this, thread, steps, child);
    });
    writer.Start();
    try {
        reader.Start();
    } catch (...) {
        steps.GoOnToTheEnd(); // for the writer, which is joined when it goes out of scope
        throw;
    }
    for (std::size_t step = 0; step < Steps::c_count; ++step) steps.Go(step);
    writer.Join();
    reader.Join();
    for (const CbThread* const worker : {&writer, &reader}) {
        if (const auto failure = worker->GetFailure()) std::rethrow_exception(failure);
    }
}
