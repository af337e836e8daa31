#include "platform/base/cbevent.h"
#include "platform/base/cbexception.h"
#include "tests/support/managerfixture.h"
#include "tests/support/rounds.h"
#include "transformationtree/manager/zectransformationnodemanager_unittest.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <functional>

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using namespace std::string_literals;
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

    void Write(EMessageType type, const char* format, ...) override CB_PRINTF_FORMAT(3, 4)
    {
        std::array<char, 256> text;
        std::va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(text.data(), text.size(), format, arguments);
        va_end(arguments);
        ZeCTransformationNodeManager_UnitTest::Write(type, "%s", text.data());
        if (observer) observer(text.data());
    }

    Observer observer;
};

class ASelfTest : public NodeManagerTest
{
protected:
    // Runs the test once more, mostly in a manager that has no tree. Returns the errors.
    Lines run(const Observer& observer = {}, bool isInUse = false)
    {
        if (!isInUse) {
            unsetRoot();
            EXPECT_TRUE(manager().UnsetDataManager());
            EXPECT_EQ(TestAccess::CountIds(manager()), 0);
        }
        ObservedTest test(dataManager, dataNode);
        test.observer = observer;
        test.Run();
        information.clear();
        Lines errors;
        for (const auto& line : test.GetLog()) {
            (line.type == CyUnitTest::eError ? errors : information).push_back(line.text);
        }
        EXPECT_EQ(test.HasFailed(), !errors.empty());
        return errors;
    }

    static Inner father(std::size_t index)
    {
        const Node node = manager().GetRootNode()->BeginChild()[static_cast<std::ptrdiff_t>(index)];
        return InnerOf(node);
    }

    static void expectTree(const std::string& tree)
    {
        const auto lock = manager().GetSingleReadHandleLocked(manager().GetRootNode());
        EXPECT_EQ(Describe(*manager().GetRootNode()), tree);
        EXPECT_TRUE(manager().IsValid());
    }

    // That the lines stand in this order, whatever is between them.
    void expectOrder(const Lines& lines) const
    {
        auto at = information.begin();
        for (const auto& line : lines) {
            at = std::find_if(at, information.end(),
                              [&](const auto& written) { return written.starts_with(line); });
            EXPECT_NE(at, information.end()) << line;
            if (at == information.end()) return;
        }
    }

    Lines information; ///< of the last run
};

TEST_F(ASelfTest, PassesAThousandTimesInARow)
{
    for (int round = Rounds(1000); round > 0 && !HasFailure(); --round) {
        ASSERT_THAT(run(), IsEmpty());
        expectTree("(Father1(), Father2(Child))");
        EXPECT_EQ(information.size(), 6);
        expectOrder({c_writeAsked, c_writeGranted, c_moved});
        expectOrder({c_readAsked, c_readLocked, c_readGranted});
        expectOrder({c_readAsked, c_moved});
        // The reader may be granted its lock before the writer, but never beside it.
        const bool readerWon = std::ranges::count(information, c_readGranted + "Father1)"s) == 1;
        if (readerWon) {
            expectOrder({c_readGranted, c_writeGranted});
        } else {
            expectOrder({c_moved, c_readLocked, c_readGranted + "Father2)"s});
        }
        if (HasFailure()) ADD_FAILURE() << testing::PrintToString(information);
    }
}

TEST_F(ASelfTest, ReportsAChildBelowTheWrongFather)
{
    const auto moveBack = [] { manager().MoveNode(father(0), father(1)->FrontChild(), nullptr); };
    EXPECT_THAT(run(at(c_moved, moveBack)),
                ElementsAre("Node Child has wrong father. Should be Father2 but is Father1"));
    expectTree("(Father1(Child), Father2())");
}

TEST_F(ASelfTest, ReportsLocksThatFail)
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

TEST_F(ASelfTest, EndsAfterAnExceptionInAnyStepAndTellsOfIt)
{
    for (const char* const line :
         {c_writeAsked, c_writeGranted, c_moved, c_readAsked, c_readLocked, c_readGranted}) {
        SCOPED_TRACE(line);
        const auto fail = [] { throw CbException("file", 1, "f", "no more lines"); };
        EXPECT_THAT(run(at(line, fail)), ElementsAre(HasSubstr("no more lines")));
        EXPECT_EQ(manager().GetRootNode()->GetNrLeafNodes(), 1);
    }
}

TEST_F(ASelfTest, LeavesAManagerInUseAlone)
{
    const Inner root = manager().CreateRootNode();
    EXPECT_THAT(run({}, true), ElementsAre(HasSubstr("is linked")));
    EXPECT_EQ(manager().GetRootNode(), root);
    EXPECT_EQ(TestAccess::CountIds(manager()), 1);
}

} // namespace
