#pragma once

#include "platform/base/cbexception.h"
#include "tests/support/managerfixture.h"
#include "transformationtree/walks/zectransformationnodeiterators.h"

#include <atomic>
#include <barrier>
#include <chrono>
#include <map>
#include <random>

/// A node and what only its lock guards.
struct Site
{
    Node node;
    long long written = 0;
    long long writtenToo = 0;
};

/// Threads that lock random nodes of a tree while they edit it.
class TreeLocks : public NodeManagerTest
{
protected:
    static constexpr int c_threads = 8;
    static constexpr int c_inner = 20;
    static constexpr int c_leaves = 30;

    TreeLocks()
    {
        const Inner root = manager().CreateRootNode();
        addSite(root);
        std::mt19937 random(1);
        for (int i = 0; i < c_inner; ++i) {
            const Inner inner = manager().CreateInnerNode();
            manager().AppendChild(InnerOf(pick(random).node), inner);
            addSite(inner);
        }
        for (int i = 0; i < c_leaves; ++i) {
            const Node leaf = manager().CreateLeafNode(nullptr);
            manager().AppendChild(InnerOf(sites_[i % c_inner].node), leaf);
            addSite(leaf);
        }
        for (Site& site : sites_) siteOf_[site.node.Get()] = &site;
    }

    void run(std::chrono::seconds time)
    {
        std::barrier start(c_threads);
        const auto end = std::chrono::steady_clock::now() + time;
        std::atomic<long long> expected = 0;
        std::vector<std::thread> threads;
        for (int i = 0; i < c_threads; ++i) {
            threads.emplace_back([&, i] {
                start.arrive_and_wait();
                Worker worker{*this, std::mt19937(static_cast<unsigned>(i)), 0, {}};
                // However slow the machine is, each thread gets all that it asks for in the end.
                const auto isDone = [&] { return worker.done.size() == 4; };
                while (std::chrono::steady_clock::now() < end || !isDone()) worker.step();
                expected += worker.writes;
            });
        }
        for (auto& thread : threads) thread.join();

        const auto handle = manager().GetSingleWriteHandleLocked(manager().GetRootNode());
        long long written = 0;
        for (const Site& site : sites_) {
            expectWhole(site);
            written += site.written;
            EXPECT_TRUE(site.node->GetParent());
            EXPECT_EQ(manager().GetNodeByID(site.node->GetID()), site.node);
        }
        EXPECT_EQ(written, expected.load());
        EXPECT_EQ(TestAccess::CountIds(manager()), sites_.size());
        EXPECT_EQ(std::ranges::distance(manager().GetRootNode()->Nodes()), std::ssize(sites_));
    }

private:
    void addSite(const Node& node)
    {
        node->SetDescription(CString::FromUtf8("0"));
        sites_.push_back({node});
    }
    Site& pick(std::mt19937& random) { return sites_[random() % sites_.size()]; }
    Site& pickInner(std::mt19937& random) { return sites_[random() % (c_inner + 1)]; }

    // What a write lock keeps together.
    static void expectWhole(const Site& site)
    {
        EXPECT_EQ(site.written, site.writtenToo);
        EXPECT_EQ(site.node->GetDescription().ToUtf8(), std::to_string(site.written));
    }

    struct Worker
    {
        TreeLocks& tree;
        std::mt19937 random;
        long long writes = 0;
        std::map<std::string, int> done; // how often, by what

        void step()
        {
            const auto kind = random() % 10;
            if (kind < 3) return read(tree.pick(random));
            if (kind < 6) return write(tree.pick(random));
            if (kind < 8) return move(tree.pick(random).node, InnerOf(tree.pickInner(random).node));
            if (kind < 9) return takeOutAndBringBack(tree.pick(random));
            addAndDelete(InnerOf(tree.pickInner(random).node));
        }

        // Whoever is refused a single handle asked for a node that was not in the tree, or left it.
        template<class Work>
        static bool withHandle(Work&& work)
        {
            try {
                work();
                return true;
            } catch (const CbException& exception) {
                EXPECT_EQ(exception.GetLine(), 1870U) << exception.what();
                EXPECT_THAT(exception.what(), testing::ContainsRegex("No locking|Invalid Node"));
                return false;
            }
        }

        void read(const Site& site)
        {
            withHandle([&] {
                const auto handle = manager().GetSingleReadHandleLocked(site.node);
                EXPECT_TRUE(manager().IsReadLocked(site.node));
                for (const auto& [node, trafo] : site.node->Nodes()) {
                    const auto found = tree.siteOf_.find(&node);
                    if (found != tree.siteOf_.end()) expectWhole(*found->second);
                }
                ++done["read"];
            });
        }

        void change(Site& site)
        {
            ++site.written;
            site.node->SetDescription(CString::FromUtf8(std::to_string(site.written)));
            ++site.writtenToo;
            ++writes;
        }

        void write(Site& site)
        {
            withHandle([&] {
                const auto handle = manager().GetSingleWriteHandleLocked(site.node);
                EXPECT_TRUE(manager().IsWriteLocked(site.node));
                change(site);
                const Node last = site.node->BackNode(); // covered by the same lock
                const auto found = tree.siteOf_.find(last.Get());
                if (found != tree.siteOf_.end()) change(*found->second);
            });
        }

        void move(const Node& node, const Inner& newFather)
        {
            const Inner oldFather = node->GetFather();
            if (!oldFather) return;
            const auto oldHandle = manager().GetWriteHandle(oldFather);
            const auto newHandle = manager().GetWriteHandle(newFather);
            auto status = CyDataManager::eGeneralError;
            if (!manager().TryLockAndWait(10000, status)) {
                EXPECT_THAT(status,
                            testing::AnyOf(CyDataManager::eNoQueries, CyDataManager::eInvalidNode));
            }
            if (!oldHandle.IsValid() || !newHandle.IsValid()) return;
            if (node->GetFather() != oldFather) return;
            try {
                manager().MoveNode(newFather, node, newFather->FrontChild());
                EXPECT_EQ(node->GetParent(), newFather);
                ++done["move"];
            } catch (const CbException& exception) {
                EXPECT_EQ(exception.GetFunction(), "ZeCTransformationNodeManager::MoveNode");
            }
        }

        void takeOutAndBringBack(Site& site)
        {
            const Inner father = site.node->GetFather();
            if (!father) return;
            bool out = false;
            withHandle([&] {
                const auto handle = manager().GetSingleWriteHandleLocked(father);
                if (site.node->GetFather() != father) return;
                manager().RemoveChild(father, site.node);
                out = true;
            });
            if (!out) return;
            // Outside the tree it is this thread's alone.
            EXPECT_TRUE(manager().IsNotManagedOrWriteLocked(site.node));
            change(site);
            while (!withHandle([&] {
                const Inner newFather = InnerOf(tree.pickInner(random).node);
                const auto handle = manager().GetSingleWriteHandleLocked(newFather);
                manager().AppendChild(newFather, site.node, false);
            })) {
            }
            ++done["detour"];
        }

        void addAndDelete(const Inner& father)
        {
            withHandle([&] {
                const auto handle = manager().GetSingleWriteHandleLocked(father);
                const Node leaf = manager().CreateLeafNode(nullptr);
                manager().AppendChild(father, leaf);
                EXPECT_EQ(manager().GetNodeByID(leaf->GetID()), leaf);
                manager().RemoveChild(father, leaf);
                manager().DeleteNode(leaf);
                ++done["addition"];
            });
        }
    };

    std::vector<Site> sites_;
    std::map<const ZeCTransformationNode*, Site*> siteOf_;
};
