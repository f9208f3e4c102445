#include "force/worker_pool.h"

#include <algorithm>
#include <system_error>

#if defined(NETLOOM_POOL_WIN32)
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <process.h>
#include <windows.h>
#endif

namespace netloom::force {

#if defined(NETLOOM_POOL_WIN32)
static_assert(sizeof(SRWLOCK) == sizeof(void*) && sizeof(CONDITION_VARIABLE) == sizeof(void*),
              "the pool keeps an SRWLOCK or CONDITION_VARIABLE in one pointer");

void PoolMutex::lock() {
    AcquireSRWLockExclusive(reinterpret_cast<PSRWLOCK>(&m_pLock));
}
void PoolMutex::unlock() {
    ReleaseSRWLockExclusive(reinterpret_cast<PSRWLOCK>(&m_pLock));
}
void PoolCondition::notify_one() {
    WakeConditionVariable(reinterpret_cast<PCONDITION_VARIABLE>(&m_pCondition));
}
void PoolCondition::notify_all() {
    WakeAllConditionVariable(reinterpret_cast<PCONDITION_VARIABLE>(&m_pCondition));
}
void PoolCondition::Wait(PoolMutex& mutex) {
    SleepConditionVariableSRW(reinterpret_cast<PCONDITION_VARIABLE>(&m_pCondition),
                              reinterpret_cast<PSRWLOCK>(&mutex.m_pLock), INFINITE, 0);
}

struct PoolEntry {
    static unsigned __stdcall Serve(void* pool) {
        static_cast<WorkerPool*>(pool)->Serve();
        return 0;
    }
};

bool WorkerPool::StartHelper() {
    const std::uintptr_t handle = _beginthreadex(nullptr, 0, PoolEntry::Serve, this, 0, nullptr);
    if (handle == 0) {
        return false;
    }
    m_vecHelpers.push_back(reinterpret_cast<void*>(handle));
    return true;
}

void WorkerPool::JoinHelpers() {
    for (PoolThread helper : m_vecHelpers) {
        WaitForSingleObject(helper, INFINITE);
        CloseHandle(helper);
    }
}
#else
bool WorkerPool::StartHelper() {
    try {
        m_vecHelpers.emplace_back([this]() { Serve(); });
    } catch (const std::system_error&) {
        return false; // no more threads: the ones running take every block
    }
    return true;
}

void WorkerPool::JoinHelpers() {
    for (std::thread& helper : m_vecHelpers) {
        helper.join();
    }
}
#endif

int LayoutThreads(int setting) {
    if (setting > 0) {
        return setting;
    }
#if defined(NETLOOM_POOL_WIN32)
    const unsigned hardware = GetActiveProcessorCount(ALL_PROCESSOR_GROUPS);
#else
    const unsigned hardware = std::thread::hardware_concurrency();
#endif
    return hardware == 0 ? 1 : static_cast<int>(hardware);
}

WorkerPool::WorkerPool(int threads) : m_iThreads(std::max(threads, 1)) {}

WorkerPool::~WorkerPool() {
    {
        std::lock_guard<PoolMutex> lock(m_mutex);
        m_bStop = true;
    }
    m_wake.notify_all();
    JoinHelpers();
}

void WorkerPool::Run(std::size_t count, std::size_t block,
                     const std::function<void(std::size_t, std::size_t)>& work) {
    const std::size_t blocks = (count + block - 1) / block;
    if (m_iThreads <= 1 || blocks <= 1) {
        if (count > 0) {
            work(0, count);
        }
        return;
    }
    if (m_vecHelpers.empty()) {
        for (int t = 1; t < m_iThreads && StartHelper(); ++t) {
        }
    }
    {
        std::lock_guard<PoolMutex> lock(m_mutex);
        m_pWork = &work;
        m_params = LayoutParams::Current();
        m_nCount = count;
        m_nBlock = block;
        m_nNextBlock = 0;
        m_nBusy = 0;
        ++m_nGeneration;
    }
    m_wake.notify_all();
    TakeBlocks();
    // Every block is taken: only the helpers that joined in time are waited
    // for. One that wakes later finds nothing to do and stays out, so a helper
    // the system has not scheduled yet (a loaded machine) never holds up the
    // pass.
    std::unique_lock<PoolMutex> lock(m_mutex);
    m_done.wait(lock, [this]() { return m_nBusy == 0; });
    m_pWork = nullptr;
}

// Takes blocks until none is left.
void WorkerPool::TakeBlocks() {
    for (;;) {
        std::size_t begin = 0;
        std::size_t end = 0;
        const std::function<void(std::size_t, std::size_t)>* work = nullptr;
        {
            std::lock_guard<PoolMutex> lock(m_mutex);
            begin = m_nNextBlock * m_nBlock;
            if (m_pWork == nullptr || begin >= m_nCount) {
                return;
            }
            ++m_nNextBlock;
            end = std::min(m_nCount, begin + m_nBlock);
            work = m_pWork;
        }
        (*work)(begin, end);
    }
}

void WorkerPool::Serve() {
    std::uint64_t seen = 0;
    for (;;) {
        LayoutParams params{};
        {
            std::unique_lock<PoolMutex> lock(m_mutex);
            m_wake.wait(lock, [&]() { return m_bStop || m_nGeneration != seen; });
            if (m_bStop) {
                return;
            }
            seen = m_nGeneration;
            if (m_pWork == nullptr || m_nNextBlock * m_nBlock >= m_nCount) {
                continue; // the pass is done or all its blocks are taken
            }
            ++m_nBusy;
            params = m_params;
        }
        params.Apply(); // the parameters are per thread
        TakeBlocks();
        std::lock_guard<PoolMutex> lock(m_mutex);
        if (--m_nBusy == 0) {
            m_done.notify_one();
        }
    }
}

} // namespace netloom::force
