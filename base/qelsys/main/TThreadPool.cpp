#include "qel/sys/TThreadPool.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <string>
#include <utility>

namespace qel::sys {

namespace {

// The pool whose worker the current thread is (or whose leftover jobs it is
// running during shutdown); null elsewhere.
thread_local TThreadPool const* t_currentPool = nullptr;

void ReportError(TThreadPool::ErrorHook const& onError, char const* text) noexcept {
    if (!onError)
        return;
    try {
        onError(TStringCore::fromUtf8(text));
    } catch (...) {
        // The hook is the last place a failure can go; there is nowhere to
        // report its own.
    }
}

// Runs a job or hook so that nothing it throws leaves the worker: an escaping
// exception would end the process.
void RunGuarded(std::function<void()> const& call, TThreadPool::ErrorHook const& onError) noexcept {
    if (!call)
        return;
    try {
        call();
    } catch (std::exception const& e) {
        ReportError(onError, e.what());
    } catch (...) {
        ReportError(onError, "unknown exception");
    }
}

// Shuts the process's pool down when static objects are destroyed.
struct ShutdownAtExit {
    TThreadPool& m_pool;
    ~ShutdownAtExit() {
        // A worker that calls exit() cannot join itself; the process ends
        // with the threads anyway.
        if (!m_pool.IsPoolThread())
            m_pool.Shutdown();
    }
};

}  // namespace

TThreadPool& TThreadPool::Get() {
    // Never freed, so that a late caller meets a shut-down pool, not freed
    // memory; it stays reachable through this pointer.
    static TThreadPool* const pool = new TThreadPool();
    static ShutdownAtExit const atExit{*pool};
    return *pool;
}

unsigned int TThreadPool::DefaultNumberOfThreads() {
    unsigned int const hardware = std::thread::hardware_concurrency();
    return hardware == 0 ? 1 : std::min(hardware, kMaxThreads);
}

TThreadPool::TThreadPool() = default;

TThreadPool::~TThreadPool() {
    Shutdown();
}

void TThreadPool::Configure(unsigned int threads, ThreadHook onThreadStart, ThreadHook onThreadStop,
                            ErrorHook onError) {
    if (threads > kMaxThreads) {
        throw std::invalid_argument("TThreadPool::Configure: " + std::to_string(threads) +
                                    " threads asked for; at most " + std::to_string(kMaxThreads));
    }
    if (IsPoolThread())
        throw std::logic_error("TThreadPool::Configure: called on one of the pool's own threads");
    std::lock_guard const config(m_configMutex);
    {
        std::lock_guard const lock(m_mutex);
        if (m_stopping)
            throw std::logic_error("TThreadPool::Configure: the pool has shut down");
    }
    StopWorkers();
    StartWorkers(std::max(threads, 1u),
                 Hooks{std::move(onThreadStart), std::move(onThreadStop), std::move(onError)});
}

unsigned int TThreadPool::GetNumberOfThreads() const {
    std::lock_guard const lock(m_mutex);
    return m_threadCount;
}

unsigned int TThreadPool::GetThreadPoolUseCount() const {
    std::lock_guard const lock(m_mutex);
    return m_busyCount;
}

bool TThreadPool::IsPoolThread() const {
    return t_currentPool == this;
}

TThreadPool const* TThreadPool::CurrentPool() noexcept {
    return t_currentPool;
}

void TThreadPool::Submit(Job job) {
    if (!job)
        throw std::invalid_argument("TThreadPool::Submit: empty job");
    bool const fromWorker = IsPoolThread();
    bool started = fromWorker;
    if (!started) {
        std::lock_guard const lock(m_mutex);
        started = m_threadCount != 0;
    }
    if (!started) {
        // Never configured (or a failed Configure left no thread): start the
        // default set, so that the job has someone to run it.
        std::lock_guard const config(m_configMutex);
        bool stopping;
        {
            std::lock_guard const lock(m_mutex);
            stopping = m_stopping;
        }
        if (m_threads.empty() && !stopping)
            StartWorkers(DefaultNumberOfThreads(), Hooks{});
    }
    {
        std::lock_guard const lock(m_mutex);
        if (m_stopping && !fromWorker)
            throw std::logic_error("TThreadPool::Submit: the pool is shutting down");
        m_queue.push_back(std::move(job));
    }
    m_wake.notify_one();
}

void TThreadPool::Shutdown() {
    if (IsPoolThread())
        throw std::logic_error("TThreadPool::Shutdown: called on one of the pool's own threads");
    std::lock_guard const config(m_configMutex);
    {
        std::lock_guard const lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_all();
    for (std::thread& thread : m_threads)
        thread.join();
    m_threads.clear();
    {
        std::lock_guard const lock(m_mutex);
        m_threadCount = 0;
    }
    RunQueuedJobsHere();
}

// REQUIRES: m_configMutex held.
void TThreadPool::StartWorkers(unsigned int threads, Hooks const& hooks) {
    std::uint64_t generation;
    {
        std::lock_guard const lock(m_mutex);
        generation = m_generation;
    }
    m_lastHooks = hooks;
    try {
        for (unsigned int i = 0; i < threads; ++i)
            m_threads.emplace_back(&TThreadPool::WorkerLoop, this, generation, hooks);
    } catch (...) {
        if (m_threads.empty())
            throw;
    }
    std::lock_guard const lock(m_mutex);
    m_threadCount = static_cast<unsigned int>(m_threads.size());
}

// REQUIRES: m_configMutex held.
void TThreadPool::StopWorkers() {
    {
        std::lock_guard const lock(m_mutex);
        ++m_generation;
    }
    m_wake.notify_all();
    for (std::thread& thread : m_threads)
        thread.join();
    m_threads.clear();
    std::lock_guard const lock(m_mutex);
    m_threadCount = 0;
}

void TThreadPool::WorkerLoop(std::uint64_t generation, Hooks hooks) {
    t_currentPool = this;
    RunGuarded(hooks.m_onStart, hooks.m_onError);
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait(lock,
                    [&] { return m_generation != generation || m_stopping || !m_queue.empty(); });
        // A replaced worker leaves the queue to its successors; at shutdown
        // a worker leaves only when nothing is queued.
        if (m_generation != generation || m_queue.empty())
            break;
        Job job = std::move(m_queue.front());
        m_queue.pop_front();
        ++m_busyCount;
        lock.unlock();
        RunGuarded(job, hooks.m_onError);
        // The job's captures die here, unlocked, as they may submit work.
        job = nullptr;
        lock.lock();
        --m_busyCount;
    }
    lock.unlock();
    RunGuarded(hooks.m_onStop, hooks.m_onError);
    t_currentPool = nullptr;
}

// Work is only left queued with no worker when starting threads failed; at
// shutdown it runs here rather than being lost. Jobs it submits run too.
// REQUIRES: m_configMutex held, no workers.
void TThreadPool::RunQueuedJobsHere() {
    TThreadPool const* const previous = t_currentPool;
    t_currentPool = this;
    for (;;) {
        Job job;
        {
            std::lock_guard const lock(m_mutex);
            if (m_queue.empty())
                break;
            job = std::move(m_queue.front());
            m_queue.pop_front();
        }
        RunGuarded(job, m_lastHooks.m_onError);
    }
    t_currentPool = previous;
}

}  // namespace qel::sys
