#include "platform/datatree/internal/cylockthread.h"

#include "platform/datatree/internal/cylockengine.h"

#include <algorithm>
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
constinit thread_local bool t_ended = false;

// Marks the thread as ended for one engine; true where nothing holds the object any more.
bool end(CyLockThread& thread) noexcept
{
    CyLockEngine& engine = thread.engine;
    const CyDataTreeMutexLock lock(engine.mutex);
    return engine.EndThread(thread);
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
        t_ended = true;
        for (CyLockThread* thread : *threads) {
            if (end(*thread)) delete thread;
        }
    }
};

// True, and out of use, where the manager is gone and no handle is left.
bool isLeftOver(CyLockThread& thread) noexcept
{
    CyLockEngine& engine = thread.engine;
    const CyDataTreeMutexLock lock(engine.mutex);
    return engine.IsClosed() && thread.records == 0 && engine.EndThread(thread);
}

void deleteLeftOvers(Threads& threads) noexcept
{
    std::erase_if(threads, [](CyLockThread* thread) {
        const bool leftOver = isLeftOver(*thread);
        if (leftOver) delete thread;
        return leftOver;
    });
}

} // namespace

CyLockThread::CyLockThread(CyLockEngine& lockEngine) : engine(lockEngine) { engine.AddReference(); }

CyLockThread::~CyLockThread() { engine.Release(); }

CyLockThread* CyLockThread::Find(const CyLockEngine& engine) noexcept
{
    if (t_last != nullptr && &t_last->engine == &engine) return t_last;
    if (t_threads == nullptr) return nullptr;
    for (CyLockThread* thread : *t_threads) {
        if (&thread->engine == &engine) return t_last = thread;
    }
    return nullptr;
}

CyLockThread& CyLockThread::Get(CyLockEngine& engine)
{
    if (CyLockThread* const thread = Find(engine)) return *thread;
    if (t_ended) { // nobody is told when the thread ends: the last record deletes it
        t_last = new CyLockThread(engine);
        t_last->ended = true;
        return *t_last;
    }
    if (t_threads == nullptr) {
        auto threads = std::make_unique<Threads>();
        thread_local AtThreadEnd atThreadEnd;
        t_threads = threads.release();
    }
    t_last = nullptr;
    deleteLeftOvers(*t_threads);
    auto thread = std::make_unique<CyLockThread>(engine);
    t_threads->push_back(thread.get());
    return *thread.release();
}

void CyLockThread::Delete(CyLockThread* thread) noexcept
{
    if (t_last == thread) t_last = nullptr;
    delete thread;
}
