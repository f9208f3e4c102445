#pragma once

#include "pipeline/layout_params.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <vector>

// MinGW's win32 thread model has no std::thread, std::mutex or
// std::condition_variable; the pool then uses the Windows primitives directly.
#if defined(_WIN32) && defined(__GLIBCXX__) && !defined(_GLIBCXX_HAS_GTHREADS)
#define NETLOOM_POOL_WIN32 1
#else
#include <condition_variable>
#include <thread>
#endif

namespace netloom::force {

#if defined(NETLOOM_POOL_WIN32)
// An SRWLOCK and a CONDITION_VARIABLE, each one pointer, zero when initialised.
class PoolMutex {
public:
    void lock();
    void unlock();
    void* m_pLock = nullptr;
};

class PoolCondition {
public:
    void notify_one();
    void notify_all();
    template <class Predicate> void wait(std::unique_lock<PoolMutex>& lock, Predicate ready) {
        while (!ready()) {
            Wait(*lock.mutex());
        }
    }

private:
    void Wait(PoolMutex& mutex);
    void* m_pCondition = nullptr;
};

using PoolThread = void*; // the thread's HANDLE
#else
using PoolMutex = std::mutex;
using PoolCondition = std::condition_variable;
using PoolThread = std::thread;
#endif

// The number of threads a layout may use: `setting`, or one per hardware thread
// when that is 0 or below.
int LayoutThreads(int setting);

// Threads that live as long as the pool (one layout), so that the passes of
// every iteration share them without starting threads each time.
class WorkerPool {
public:
    // Up to `threads` threads, the caller's among them; helpers start on the
    // first Run that has work for them.
    explicit WorkerPool(int threads);
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    int Threads() const { return m_iThreads; }

    // Calls work(begin, end) for consecutive blocks of at most `block` items that
    // cover [0, count), on the pool's threads and the caller's, and returns when
    // all are done. The blocks are handed out in order but may run in any order
    // and at the same time, so work must only write what belongs to its own
    // items. The helpers run it with the caller's layout parameters.
    void Run(std::size_t count, std::size_t block,
             const std::function<void(std::size_t, std::size_t)>& work);

private:
#if defined(NETLOOM_POOL_WIN32)
    friend struct PoolEntry;
#endif
    void Serve();
    void TakeBlocks();
    bool StartHelper();
    void JoinHelpers();

    int m_iThreads;
    std::vector<PoolThread> m_vecHelpers;
    PoolMutex m_mutex;
    PoolCondition m_wake;
    PoolCondition m_done;
    const std::function<void(std::size_t, std::size_t)>* m_pWork = nullptr;
    std::size_t m_nCount = 0;
    LayoutParams m_params{}; // the calling thread's, for the helpers
    std::size_t m_nBlock = 1;
    std::size_t m_nNextBlock = 0; // guarded by m_mutex
    std::uint64_t m_nGeneration = 0;
    std::size_t m_nBusy = 0; // helpers that joined the current pass
    bool m_bStop = false;
};

} // namespace netloom::force
