// How a thread finds its object:
//
//   the thread runs                 t_last, or its list t_threads, which has an object per engine
//   its list has been destroyed     t_endedNumber, by which the engine finds the object
//   it has ended                    never; the object lives on as long as a record points to it

#include "platform/datatree/internal/cylockthread.h"

#include "platform/datatree/internal/cylockengine.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <utility>
#include <vector>

namespace
{

using Threads = std::vector<CyLockThread*>;

// Plain values, so that handles of static objects still work after the other objects of the thread
// are gone.
constinit thread_local Threads* t_threads = nullptr;
constinit thread_local CyLockThread* t_last = nullptr; // the one found last, among t_threads
constinit thread_local std::uint64_t t_endedNumber = 0;

constinit std::atomic<std::uint64_t> s_endedThreads{0};

// Ends a thread for one engine; true if nothing uses the object any more.
bool end(CyLockThread& thread, std::uint64_t number) noexcept
{
    CyLockEngine& engine = thread.engine;
    const CyDataTreeMutexLock lock(engine.mutex);
    return engine.EndThread(thread, number);
}

struct AtThreadEnd
{
    AtThreadEnd() = default;
    AtThreadEnd(const AtThreadEnd&) = delete;
    AtThreadEnd& operator=(const AtThreadEnd&) = delete;
    ~AtThreadEnd()
    {
        const std::unique_ptr<Threads> threads(std::exchange(t_threads, nullptr));
        t_last = nullptr;
        t_endedNumber = ++s_endedThreads;
        for (CyLockThread* thread : *threads) {
            if (end(*thread, t_endedNumber)) delete thread;
        }
    }
};

// True, and out of use, if the manager is gone and no handle is left.
bool isLeftOver(CyLockThread& thread) noexcept
{
    CyLockEngine& engine = thread.engine;
    const CyDataTreeMutexLock lock(engine.mutex);
    return engine.IsClosed() && thread.uses == 1 && engine.LetGo(thread);
}

void deleteLeftOvers(Threads& threads) noexcept
{
    std::erase_if(threads, [](CyLockThread* thread) {
        const bool leftOver = isLeftOver(*thread);
        if (leftOver) delete thread;
        return leftOver;
    });
}

CyLockThread* findThread(const CyLockEngine& engine) noexcept
{
    if (t_last != nullptr && &t_last->engine == &engine) return t_last;
    if (t_threads == nullptr) return nullptr;
    for (CyLockThread* thread : *t_threads) {
        if (&thread->engine == &engine) return t_last = thread;
    }
    return nullptr;
}

CyLockThread* makeThread(CyLockEngine& engine)
{
    if (t_threads == nullptr) {
        auto threads = std::make_unique<Threads>();
        thread_local AtThreadEnd atThreadEnd;
        t_threads = threads.release();
    }
    t_last = nullptr;
    deleteLeftOvers(*t_threads);
    auto thread = std::make_unique<CyLockThread>(engine);
    t_threads->push_back(thread.get());
    return thread.release();
}

} // namespace

CyLockThread::CyLockThread(CyLockEngine& lockEngine) : engine(lockEngine) { engine.AddReference(); }

CyLockThread::~CyLockThread() { engine.Release(); }

CyLockCaller::CyLockCaller(CyLockEngine& engine, EUnknown unknown)
{
    const bool make = unknown == EUnknown::Make;
    if (t_endedNumber == 0) {
        thread_ = findThread(engine);
        if (thread_ == nullptr && make) thread_ = makeThread(engine);
        return;
    }
    // From here on the thread destroys its last objects. Memory is taken outside the mutex.
    auto made = make ? std::make_unique<CyLockThread>(engine) : nullptr;
    const CyDataTreeMutexLock lock(engine.mutex);
    thread_ = engine.FindEnded(t_endedNumber);
    if (thread_ != nullptr) {
        ++thread_->uses;
    } else if (made) {
        thread_ = made.release();
        engine.AddEnded(*thread_, t_endedNumber);
    }
    isCounted_ = thread_ != nullptr;
}

void CyLockCaller::letGo() noexcept
{
    bool isLast = false;
    {
        CyLockEngine& engine = thread_->engine;
        const CyDataTreeMutexLock lock(engine.mutex);
        isLast = engine.LetGo(*thread_);
    }
    if (isLast) delete thread_;
}
