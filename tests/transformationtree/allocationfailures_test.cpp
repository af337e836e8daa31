// Edits are all or nothing: each allocation that an edit makes fails once.

#include "tests/support/managerfixture.h"
#include "tests/support/scenario.h"
#include "tests/transformationtree/failingallocations.h"

#include <functional>
#include <new>
#include <optional>
#include <thread>

namespace
{

class WithoutMemory : public NodeManagerTest
{
protected:
    using Verb = std::function<void(WithoutMemory&)>;

    // A managed tree and a loose one, with places that exchanged nodes have left.
    void build()
    {
        tree.emplace("root(a(b(c, d()), e), f(g))", Scenario::EBuilder::Manager);
        loose.emplace("top(x(y), z)", Scenario::EBuilder::Manager);
        manager().ExchangeChild(tree->GetInner("f"), (*tree)["g"], (*tree)["c"]);
        manager().SetRootNode(tree->GetRootInner());
    }

    // All that an edit could change.
    [[nodiscard]] std::string describe() const
    {
        std::string text = Describe(*tree->GetRoot()) + Describe(*loose->GetRoot());
        text += " root " + std::to_string(manager().GetRootNode() == tree->GetRoot());
        text += " ids " + std::to_string(TestAccess::CountIds(manager()));
        const auto add = [&](const char* name, const Node& node) {
            const auto parent = node->GetParent();
            text += std::string(" ") + name + (parent ? parent->GetName().ToUtf8() : "") + ' ' +
                    std::to_string(node->GetNodeRevision(1)) + ',' +
                    std::to_string(node->GetNodeRevision(2)) +
                    (manager().GetNodeByID(node->GetID()) ? "+" : "-");
        };
        for (const char* name : {"root", "a", "b", "c", "d", "e", "f", "g"}) {
            add(name, (*tree)[name]);
        }
        for (const char* name : {"top", "x", "y", "z"}) add(name, (*loose)[name]);
        return text;
    }

    void expectAllOrNothing(const Verb& prepare, const Verb& edit)
    {
        for (long allocations = 0;; ++allocations) {
            SCOPED_TRACE(allocations);
            ASSERT_LT(allocations, 1000);
            build();
            bool done = true;
            // A thread of its own, which has had no handle yet.
            std::thread([&] {
                prepare(*this);
                const std::string before = describe();
                FailAllocationsAfter(allocations);
                try {
                    edit(*this);
                } catch (const std::bad_alloc&) {
                    done = false;
                }
                FailAllocationsAfter(-1);
                EXPECT_EQ(describe() == before, !done) << before << '\n' << describe();
                handle.Release();
            }).join();
            unsetRoot();
            tree.reset();
            loose.reset();
            TestAccess::DestroySingleton<Manager>();
            ASSERT_TRUE(manager().SetDataManager(dataManager, dataNode));
            if (done) return;
        }
    }

    [[nodiscard]] Inner inner(const std::string& name) const { return tree->GetInner(name); }
    [[nodiscard]] Inner top() const { return loose->GetRootInner(); }
    [[nodiscard]] Node node(const std::string& name) const { return (*tree)[name]; }

    std::optional<Scenario> tree;
    std::optional<Scenario> loose;
    Manager::WriteHandle handle;

    static const struct Row
    {
        const char* name;
        Verb prepare;
        Verb edit;
    } c_rows[];
};

const WithoutMemory::Row WithoutMemory::c_rows[] = {
    {"create leaf", [](auto&) {}, [](auto&) { (void)manager().CreateLeafNode(nullptr); }},
    {"create root", [](auto&) { unsetRoot(); }, [](auto&) { manager().CreateRootNode(); }},
    {"set root", [](auto&) { unsetRoot(); }, [](auto& t) { manager().SetRootNode(t.top()); }},
    {"unset root",
     [](auto& t) {
         t.handle = manager().GetWriteHandle(t.node("root"));
         EXPECT_TRUE(manager().TryLock());
     },
     [](auto&) { manager().UnsetRootNode(); }},
    {"append", [](auto&) {}, [](auto& t) { manager().AppendChild(t.inner("d"), t.top()); }},
    {"remove", [](auto&) {}, [](auto& t) { manager().RemoveChild(t.inner("root"), t.node("a")); }},
    {"replace", [](auto&) {},
     [](auto& t) { manager().ReplaceChild(t.inner("root"), t.node("a"), t.top()); }},
    {"replace by a managed node", [](auto&) {},
     [](auto& t) { manager().ReplaceChild(t.inner("f"), t.node("c"), t.node("b")); }},
    {"replace outside", [](auto&) {},
     [](auto& t) { manager().ReplaceChild(t.top(), (*t.loose)["x"], t.node("a")); }},
    {"exchange", [](auto&) {},
     [](auto& t) { manager().ExchangeChild(t.inner("root"), t.node("a"), t.top()); }},
    {"exchange by what is below", [](auto&) {},
     [](auto& t) { manager().ExchangeChild(t.inner("root"), t.node("a"), t.node("b")); }},
    {"move within", [](auto&) {},
     [](auto& t) { manager().MoveNode(t.inner("f"), t.node("b"), t.node("c")); }},
    {"move in", [](auto&) {},
     [](auto& t) { manager().MoveNode(t.inner("d"), (*t.loose)["x"], nullptr); }},
    {"move out", [](auto&) {},
     [](auto& t) { manager().MoveNode(t.top(), t.node("a"), t.top()->FrontChild()); }},
    {"register", [](auto& t) { manager().DeleteNode(t.top()); },
     [](auto& t) { manager().AddSubtreeToDataManager(t.top()); }},
};

TEST_F(WithoutMemory, EditsChangeNothing)
{
    for (const Row& row : c_rows) {
        SCOPED_TRACE(row.name);
        expectAllOrNothing(row.prepare, row.edit);
    }
}

} // namespace
