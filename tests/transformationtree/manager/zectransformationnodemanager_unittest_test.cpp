#include "platform/base/cbevent.h"
#include "platform/base/cbexception.h"
#include "tests/support/managerfixture.h"
#include "tests/support/rounds.h"
#include "tests/support/scenario.h"
#include "transformationtree/manager/zectransformationnodemanager_unittest.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <functional>
#include <gmock/gmock.h>

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Lines = std::vector<std::string>;

constexpr const char* c_writeAsked = "WriteHandles instantiated for for Father1 and Father2";
constexpr const char* c_writeGranted = "WriteHandles granted for for Father1 and Father2";
constexpr const char* c_moved = "Node Child moved from Father1 to Father2";
constexpr const char* c_readAsked = "ReadHandle instantiated for Child (father=Father1)";
constexpr const char* c_readLocked = "Call to Lock() succeeded";
constexpr const char* c_readGranted = "ReadLock granted for Child(father=";

// Is shown each line that the self-test writes, on the thread that writes it.
using Observer = std::function<void(const std::string&)>;

Observer at(const std::string& line, const std::function<void()>& action)
{
    return [=](const std::string& written) {
        if (written.starts_with(line)) action();
    };
}

class ObservedTest : public ZeCTransformationNodeManager_UnitTest
{
public:
    using ZeCTransformationNodeManager_UnitTest::ZeCTransformationNodeManager_UnitTest;

    void SetObserver(Observer observer) { observer_ = std::move(observer); }
    void Write(EMessageType type, const char* format, ...) override CB_PRINTF_FORMAT(3, 4)
    {
        std::array<char, 256> text;
        std::va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(text.data(), text.size(), format, arguments);
        va_end(arguments);
        ZeCTransformationNodeManager_UnitTest::Write(type, "%s", text.data());
        if (observer_) observer_(text.data());
    }
    [[nodiscard]] Lines GetLines(EMessageType type) const
    {
        Lines lines;
        for (const Line& line : GetLog()) {
            if (line.type == type) lines.push_back(line.text);
        }
        return lines;
    }

private:
    Observer observer_;
};

class SelfTestThreads : public NodeManagerTest
{
protected:
    SelfTestThreads() { EXPECT_TRUE(manager().UnsetDataManager()); }

    // Runs the test once more, in a manager without root. Returns the errors.
    Lines run(const Observer& observer = {})
    {
        unsetRoot();
        EXPECT_TRUE(manager().UnsetDataManager());
        EXPECT_EQ(TestAccess::CountIds(manager()), 0);
        ObservedTest test(dataManager, dataNode);
        test.SetObserver(observer);
        test.Run();
        information = test.GetLines(CyUnitTest::eInformation);
        Lines errors = test.GetLines(CyUnitTest::eError);
        EXPECT_EQ(test.HasFailed(), !errors.empty());
        return errors;
    }

    static Inner father(std::size_t index)
    {
        const Node node = manager().GetRootNode()->BeginChild()[static_cast<std::ptrdiff_t>(index)];
        return CbDynamicPointerCast<ZeCTransformationNodeInner>(node);
    }

    static void expectTree(const std::string& tree)
    {
        const auto lock = manager().GetSingleReadHandleLocked(manager().GetRootNode());
        EXPECT_EQ(Describe(*manager().GetRootNode()), tree);
        EXPECT_TRUE(manager().IsValid());
    }

    [[nodiscard]] bool isBefore(const std::string& earlier, const std::string& later) const
    {
        const auto find = [&](const std::string& text) {
            return std::ranges::find_if(information,
                                        [&](const auto& line) { return line.starts_with(text); });
        };
        return find(earlier) < find(later) && find(later) != information.end();
    }

    Lines information; ///< of the last run
};

TEST_F(SelfTestThreads, PassAThousandTimesInARow)
{
    for (int round = Rounds(1000); round > 0 && !HasFailure(); --round) {
        ASSERT_THAT(run(), IsEmpty());
        expectTree("(Father1(), Father2(Child))");
        EXPECT_EQ(information.size(), 6);
        // The reader may be granted its lock before the writer, but never beside it.
        const auto count = [&](const char* father) {
            return std::ranges::count(information, std::string(c_readGranted) + father);
        };
        const bool readerWon = count("Father1)") == 1;
        EXPECT_TRUE(readerWon || count("Father2)") == 1);
        EXPECT_TRUE(readerWon ? isBefore(c_readGranted, c_writeGranted)
                              : isBefore(c_moved, c_readLocked));
        EXPECT_TRUE(isBefore(c_writeAsked, c_writeGranted));
        EXPECT_TRUE(isBefore(c_writeGranted, c_moved));
        EXPECT_TRUE(isBefore(c_readAsked, c_moved));
        EXPECT_TRUE(isBefore(c_readAsked, c_readLocked));
        EXPECT_TRUE(isBefore(c_readLocked, c_readGranted));
        if (HasFailure()) ADD_FAILURE() << testing::PrintToString(information);
    }
}

TEST_F(SelfTestThreads, ReportAChildBelowTheWrongFather)
{
    const auto moveBack = [] { manager().MoveNode(father(0), father(1)->FrontChild(), nullptr); };
    EXPECT_THAT(run(at(c_moved, moveBack)),
                ElementsAre("Node Child has wrong father. Should be Father2 but is Father1"));
    expectTree("(Father1(Child), Father2())");
}

TEST_F(SelfTestThreads, ReportLocksThatFail)
{
    // A node that was in and out has lost the queries on it.
    const auto reenter = [](const Inner& top, const Node& node) {
        manager().RemoveChild(top, node);
        manager().AppendChild(top, node);
    };
    CbEvent writeGranted;
    const auto leaveBeforeRead = [&](const std::string& line) {
        at(c_readAsked, [&] { EXPECT_TRUE(writeGranted.Wait(20000)); })(line);
        at(c_writeGranted, [&] { writeGranted.Set(); })(line);
        at(c_moved, [&] { reenter(father(1), father(1)->FrontChild()); })(line);
    };
    EXPECT_THAT(run(leaveBeforeRead), ElementsAre("Call to Lock() failed with an exception!"));
    expectTree("(Father1(), Father2(Child))");
    EXPECT_THAT(information,
                UnorderedElementsAre(c_readAsked, c_writeAsked, c_writeGranted, c_moved));

    const auto leave = [&] { reenter(manager().GetRootNode(), father(1)); };
    EXPECT_THAT(run(at(c_writeAsked, leave)),
                ElementsAre("Lock() attemt failed with an exception."));
    expectTree("(Father1(Child), Father2())");
    EXPECT_THAT(information.back(), HasSubstr("Father1)"));
}

TEST_F(SelfTestThreads, EndAfterAnExceptionInAnyStep)
{
    for (const char* const line :
         {c_writeAsked, c_writeGranted, c_moved, c_readAsked, c_readLocked, c_readGranted}) {
        SCOPED_TRACE(line);
        const auto fail = [] { throw CbException("file", 1, "f", "no more lines"); };
        EXPECT_THAT(run(at(line, fail)), ElementsAre(HasSubstr("no more lines")));
        EXPECT_EQ(manager().GetRootNode()->GetNrLeafNodes(), 1);
    }
}

TEST_F(SelfTestThreads, LeaveAManagerInUseAlone)
{
    ASSERT_TRUE(manager().SetDataManager(dataManager, dataNode));
    const Inner root = manager().CreateRootNode();
    ObservedTest test(dataManager, dataNode);
    test.Run();
    EXPECT_TRUE(test.HasFailed());
    EXPECT_THAT(test.GetLines(CyUnitTest::eError), ElementsAre(HasSubstr("is linked")));
    EXPECT_EQ(manager().GetRootNode(), root);
    EXPECT_EQ(TestAccess::CountIds(manager()), 1);
}

} // namespace
