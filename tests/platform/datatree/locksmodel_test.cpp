#include "tests/platform/datatree/datatreeaccess.h"
#include "tests/support/rounds.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <map>
#include <memory>
#include <random>
#include <set>

namespace
{

using EOutcome = TestAccess::EOutcome;
using EState = CyLockRecord::EState;
using Time = TestAccess::Clock::time_point;

constexpr int c_threads = 4;

// What the engine is to do, told by comparing all records with each other.
struct Model
{
    struct Record
    {
        int thread;
        CyNode* node; // null when dead or void
        bool write;
        EState state;
    };
    struct Place
    {
        int thread;
        bool waiting;
        Time keepUntil;
        std::set<CyNode*> nodes; // of the queries that are left of those it was given for
    };

    std::map<CyNode*, CyNode*> parent; // of all nodes in the tree; null for the top
    std::map<int, Record> records;
    std::vector<Place> queue; // oldest first

    bool isAbove(CyNode* above, CyNode* node) const // or the same
    {
        while (node != nullptr && node != above) node = parent.at(node);
        return node != nullptr;
    }
    bool isRelated(CyNode* a, CyNode* b) const { return isAbove(a, b) || isAbove(b, a); }
    bool covers(int thread, CyNode* node, bool write) const
    {
        return std::any_of(records.begin(), records.end(), [&](const auto& entry) {
            const Record& r = entry.second;
            return r.thread == thread && r.state == EState::Granted && (r.write || !write) &&
                   isAbove(r.node, node);
        });
    }
    bool isValid(const Record& r) const
    {
        return r.state == EState::Granted ||
               (r.state == EState::Pending && covers(r.thread, r.node, r.write));
    }
    // Does a record of the thread that fits conflict with one of the others that fits?
    template<class Mine, class Theirs>
    bool conflicts(Mine mine, Theirs theirs) const
    {
        for (const auto& [i, m] : records) {
            for (const auto& [j, t] : records) {
                if (mine(m) && theirs(t) && m.thread != t.thread && (m.write || t.write) &&
                    isRelated(m.node, t.node)) {
                    return true;
                }
            }
        }
        return false;
    }
    using Places = std::vector<Place>;

    Places::iterator placeOf(int thread)
    {
        return std::find_if(queue.begin(), queue.end(),
                            [&](const Place& place) { return place.thread == thread; });
    }
    bool isWaiting(int thread)
    {
        const auto place = placeOf(thread);
        return place != queue.end() && place->waiting;
    }
    // What the thread asks for.
    std::set<CyNode*> asked(int thread) const
    {
        std::set<CyNode*> nodes;
        for (const auto& [id, r] : records) {
            if (r.thread == thread && r.state == EState::Pending) nodes.insert(r.node);
        }
        return nodes;
    }
    static bool isSubset(const std::set<CyNode*>& nodes, const std::set<CyNode*>& of)
    {
        return std::includes(of.begin(), of.end(), nodes.begin(), nodes.end());
    }
    // To be called when queries have gone.
    void dropPlaces()
    {
        for (Place& place : queue) {
            const auto left = asked(place.thread);
            std::erase_if(place.nodes, [&](CyNode* node) { return !left.contains(node); });
        }
        std::erase_if(queue, [](const Place& p) { return !p.waiting && p.nodes.empty(); });
    }
    void startWaiting(int thread)
    {
        auto place = placeOf(thread);
        if (place == queue.end() || !isSubset(asked(thread), place->nodes)) {
            if (place != queue.end()) queue.erase(place);
            place = queue.insert(queue.end(), {thread, true, {}, asked(thread)});
        }
        place->waiting = true;
    }
    EOutcome attempt(int thread, Time now)
    {
        const auto place = placeOf(thread);
        if (place != queue.end() && !place->waiting && place->keepUntil < now) queue.erase(place);
        const auto outcome = judge(thread);
        if (outcome == EOutcome::BlockedByLock || outcome == EOutcome::BlockedByOlder) {
            return outcome;
        }
        if (outcome == EOutcome::Locked) {
            for (auto& [id, r] : records) {
                if (r.thread == thread && r.state == EState::Pending) r.state = EState::Granted;
            }
        }
        std::erase_if(queue, [&](const Place& p) { return p.thread == thread; });
        return outcome;
    }
    EOutcome judge(int thread) const
    {
        int pending = 0, granted = 0, uncovered = 0;
        for (const auto& [id, r] : records) {
            if (r.thread != thread) continue;
            if (r.state == EState::Dead) return EOutcome::InvalidNode;
            granted += r.state == EState::Granted;
            pending += r.state == EState::Pending;
            uncovered += r.state == EState::Pending && !isValid(r);
        }
        if (pending + granted == 0) return EOutcome::NoQueries;
        if (uncovered == 0) return EOutcome::Locked;
        if (granted != 0) return EOutcome::NotReleased;
        const auto mine = [&](const Record& r) {
            return r.thread == thread && r.state == EState::Pending;
        };
        for (const Place& older : queue) {
            if (older.thread == thread && isSubset(asked(thread), older.nodes)) break;
            if (older.waiting && conflicts(mine, [&](const Record& r) {
                    return r.thread == older.thread && r.state == EState::Pending;
                })) {
                return EOutcome::BlockedByOlder;
            }
        }
        if (conflicts(mine, [](const Record& r) { return r.state == EState::Granted; })) {
            return EOutcome::BlockedByLock;
        }
        return EOutcome::Locked;
    }
    bool hasAccess(const Record& r) const
    {
        if (r.state != EState::Pending && r.state != EState::Granted) return false;
        return isValid(r) || std::none_of(records.begin(), records.end(), [&](const auto& entry) {
                   const Record& other = entry.second;
                   return other.state == EState::Granted && other.thread != r.thread &&
                          isRelated(other.node, r.node);
               });
    }
    bool remove(int id)
    {
        const Record own = records.at(id);
        if (!hasAccess(own) || parent.at(own.node) == nullptr) return false;
        for (const auto& [node, father] : parent) {
            if (father == own.node) return false;
        }
        for (auto& [other, r] : records) {
            if (r.node != own.node) continue;
            r.node = nullptr;
            r.state = r.state == EState::Granted || other == id ? EState::Void : EState::Dead;
        }
        parent.erase(own.node);
        dropPlaces();
        return true;
    }
    bool move(int id, CyNode* father)
    {
        const Record own = records.at(id);
        if (!hasAccess(own) || isAbove(own.node, father)) return false;
        for (const auto& [i, inside] : records) {
            for (const auto& [j, outside] : records) {
                if (inside.state == EState::Granted && outside.state == EState::Granted &&
                    inside.thread != outside.thread && (inside.write || outside.write) &&
                    isAbove(own.node, inside.node) && isAbove(outside.node, father)) {
                    return false;
                }
            }
        }
        parent[own.node] = father;
        return true;
    }
};

struct Handle
{
    Read read;
    Write write;
};

class Simulation
{
public:
    /// Counts how often each outcome is met, then how many nodes are removed, moved, and
    /// removed or moved by runs.
    Simulation(unsigned seed, std::array<int, 9>& counts) : random_(seed), counts_(counts)
    {
        for (auto& thread : threads_) {
            thread = std::make_unique<CyLockThread>(TestAccess::Engine(manager_));
        }
        model_.parent[manager_.GetTopNode().Get()] = nullptr;
        nodes_.push_back(manager_.GetTopNode());
        while (nodes_.size() < 8) insert();
    }
    ~Simulation()
    {
        handles_.clear();
        for (auto& thread : threads_) TestAccess::End(*thread);
    }

    void Step()
    {
        now_ += std::chrono::milliseconds(below(40));
        using Edit = void (Simulation::*)();
        static constexpr Edit c_edits[] = {
            &Simulation::insert,  &Simulation::ask,     &Simulation::ask,     &Simulation::ask,
            &Simulation::release, &Simulation::attempt, &Simulation::attempt, &Simulation::attempt,
            &Simulation::remove,  &Simulation::move,    &Simulation::editMany};
        (this->*c_edits[below(static_cast<int>(std::size(c_edits)))])();
        check();
    }

private:
    int below(int n) { return std::uniform_int_distribution(0, n - 1)(random_); }
    const CbSmartPointer<CyNode>& anyNode()
    {
        return nodes_[static_cast<std::size_t>(below(static_cast<int>(nodes_.size())))];
    }
    int anyRecord()
    {
        return std::next(handles_.begin(), below(static_cast<int>(handles_.size())))->first;
    }

    void insert()
    {
        if (nodes_.size() >= 14) return;
        const auto father = anyNode();
        if (!removed_.empty() && below(2) == 0) { // what was removed may come back
            nodes_.push_back(removed_.back());
            removed_.pop_back();
        } else {
            nodes_.push_back(CbMake<CyNode>());
        }
        EXPECT_TRUE(manager_.InsertNode(father, nodes_.back()));
        model_.parent[nodes_.back().Get()] = father.Get();
    }
    void ask()
    {
        if (handles_.size() >= 12) return;
        const int thread = below(c_threads);
        if (model_.isWaiting(thread)) return;
        const auto& node = anyNode();
        const bool write = below(2) == 0;
        Handle& handle = handles_[next_];
        write ? TestAccess::Ask(handle.write, owner(thread), *node)
              : TestAccess::Ask(handle.read, owner(thread), *node);
        model_.records[next_++] = {thread, node.Get(), write, EState::Pending};
    }
    void release()
    {
        if (handles_.empty()) return;
        const int id = anyRecord();
        handles_.erase(id);
        model_.records.erase(id);
        model_.dropPlaces();
    }
    void attempt()
    {
        const int thread = below(c_threads);
        const auto outcome = TestAccess::Attempt(owner(thread), now_);
        looksByItself_.erase(thread);
        ASSERT_EQ(outcome, model_.attempt(thread, now_));
        ++counts_[static_cast<std::size_t>(outcome)];
        if (outcome != EOutcome::BlockedByLock && outcome != EOutcome::BlockedByOlder) return;
        if (model_.isWaiting(thread)) {
            if (below(2) != 0) return;
            for (int other = 0; other < c_threads; ++other) {
                const bool isBehind = TestAccess::GetOlder(owner(other)) == &owner(thread);
                if (isBehind) looksByItself_.insert(other);
            }
            TestAccess::StopWaiting(owner(thread), now_);
            model_.placeOf(thread)->waiting = false;
            model_.placeOf(thread)->keepUntil = now_ + std::chrono::milliseconds(100);
            model_.dropPlaces();
        } else if (below(3) != 0) { // otherwise it was not going to wait
            TestAccess::StartWaiting(owner(thread));
            model_.startWaiting(thread);
        }
    }
    void remove()
    {
        if (handles_.empty()) return;
        const int id = anyRecord();
        const CbSmartPointer<CyNode> node(model_.records.at(id).node);
        if (!model_.records.at(id).write) return;
        const bool removed = manager_.RemoveNode(handles_.at(id).write);
        ASSERT_EQ(removed, model_.remove(id));
        if (!removed) return;
        std::erase(nodes_, node);
        removed_.push_back(node);
        ++counts_[6];
    }
    void move()
    {
        if (handles_.empty()) return;
        const int id = anyRecord();
        if (!model_.records.at(id).write) return;
        const auto& father = anyNode();
        const bool moved = manager_.MoveNode(handles_.at(id).write, father);
        ASSERT_EQ(moved, model_.move(id, father.Get()));
        counts_[7] += moved;
    }

    // Removes or moves several nodes in one run, each as by a new handle.
    void editMany()
    {
        const int thread = below(c_threads);
        const auto father = below(2) == 0 ? anyNode() : nullptr;
        std::vector<CbSmartPointer<CyNode>> some;
        for (int i = below(6); i > 0; --i) some.push_back(anyNode());
        std::size_t refused = 0;
        for (const auto& node : some) {
            if (!model_.parent.contains(node.Get())) continue; // removed by this run
            model_.records[next_] = {thread, node.Get(), true, EState::Pending};
            const bool done = father ? model_.move(next_, father.Get()) : model_.remove(next_);
            model_.records.erase(next_++);
            refused += !done;
            if (!done) continue;
            ++counts_[8];
            if (father) continue;
            std::erase(nodes_, node);
            removed_.push_back(node);
        }
        EXPECT_EQ(TestAccess::EditNodes(manager_, owner(thread), some, father.Get()), refused);
    }

    CyLockThread& owner(int thread) { return *threads_[static_cast<std::size_t>(thread)]; }

    // Was the thread woken, or the one that it is behind, or is it going to look in a little while?
    bool isGoingToLook(int thread)
    {
        const auto* const older = TestAccess::GetOlder(owner(thread));
        return TestAccess::IsWoken(owner(thread)) || looksByItself_.contains(thread) ||
               (older != nullptr && older->waiting && TestAccess::IsWoken(*older));
    }

    void check()
    {
        TestAccess::CheckCounters(manager_);
        for (int thread = 0; thread < c_threads; ++thread) {
            if (!model_.isWaiting(thread)) continue;
            const auto outcome = model_.judge(thread);
            const bool mayGoOn =
                outcome != EOutcome::BlockedByLock && outcome != EOutcome::BlockedByOlder;
            EXPECT_TRUE(!mayGoOn || isGoingToLook(thread)) << "nobody wakes thread " << thread;
        }
        for (const auto& node : nodes_) {
            EXPECT_EQ(node->GetParent().Get(), model_.parent.at(node.Get()));
        }
        for (const auto& [id, record] : model_.records) {
            const Handle& handle = handles_.at(id);
            const auto state =
                record.write ? TestAccess::State(handle.write) : TestAccess::State(handle.read);
            EXPECT_EQ(state, record.state);
            EXPECT_EQ(handle.write.IsValid() || handle.read.IsValid(), model_.isValid(record));
        }
    }

    std::mt19937 random_;
    std::array<int, 9>& counts_;
    CyDataManager manager_;
    std::vector<CbSmartPointer<CyNode>> nodes_;
    std::array<std::unique_ptr<CyLockThread>, c_threads> threads_;
    std::set<int> looksByItself_; // threads behind one whose time has run out
    std::map<int, Handle> handles_;
    Model model_;
    Time now_;
    int next_ = 0;
    std::vector<CbSmartPointer<CyNode>> removed_;
};

TEST(LocksAndEditsInRandomOrder, GrantWhatComparingAllRecordsGrants)
{
    std::array<int, 9> counts{};
    for (int seed = 0; seed < Rounds(400); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Simulation simulation(static_cast<unsigned>(seed), counts);
        for (int step = 0; step < 300 && !testing::Test::HasFailure(); ++step) simulation.Step();
        ASSERT_FALSE(testing::Test::HasFailure());
    }
    EXPECT_THAT(counts, testing::Each(testing::Gt(10))) << "the steps reach every outcome";
}

} // namespace
