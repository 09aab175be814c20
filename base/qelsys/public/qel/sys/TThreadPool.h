#pragma once

// TThreadPool: a fixed set of worker threads that take jobs from one FIFO
// queue. Idle workers sleep on a condition variable; nothing spins.
//
// The host decides how many threads exist, through Configure. Rules:
//   - Configure(n, ...) replaces the workers: each current worker finishes the
//     job it is running (it starts no new one) and exits, Configure joins
//     them, then starts n new workers with the new hooks. Queued jobs are kept
//     and run by the new workers, so reconfiguring loses no work. Configure
//     returns once the old workers are gone; concurrent calls are serialised.
//   - n == 0 is taken as 1, so queued work always has a thread to run it;
//     n above kMaxThreads is refused with std::invalid_argument.
//   - Configure from one of the pool's own workers is refused with
//     std::logic_error: it would have to join the thread it runs on.
//   - A pool that has no workers when work is submitted (it was never
//     configured) starts DefaultNumberOfThreads() workers with empty hooks.
//
// Shutdown (the destructor; for Get(), the end of the process): outside
// threads may no longer submit (std::logic_error), the workers run everything
// that is still queued, including jobs that those jobs submit, and are
// joined. No job runs after Shutdown returns. A pool that never had a worker
// shuts down at no cost.
//
// Jobs should not throw; a job that does is caught on its worker, whose
// error hook (if any) gets the exception's text, and the worker goes on.
// Work that needs its outcome back uses ScheduleOnThreadPool (TaskFuture.h).
//
// Thread safety: every member may be called from any thread, except as said
// above for Configure and Shutdown.

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "qel/sys/TStringCore.h"

namespace qel::sys {

class TThreadPool {
public:
    using Job = std::function<void()>;
    // Runs on each worker: when it starts, and when it stops.
    using ThreadHook = std::function<void()>;
    // Receives the text of an exception that escaped a job or a thread hook.
    using ErrorHook = std::function<void(TStringCore)>;

    static constexpr unsigned int kMaxThreads = 4096;

    // The process's pool. It is shut down at process exit; a static that is
    // destroyed later may still call Get(), and then finds a pool that
    // refuses work rather than freed memory.
    static TThreadPool& Get();

    // std::thread::hardware_concurrency(), or 1 when that is unknown.
    static unsigned int DefaultNumberOfThreads();

    TThreadPool();
    // Shutdown(). REQUIRES: not run on one of this pool's workers.
    ~TThreadPool();
    TThreadPool(TThreadPool const&) = delete;
    TThreadPool& operator=(TThreadPool const&) = delete;

    // See the rules at the top. Empty hooks are allowed. Throws
    // std::system_error if not even one thread could be started; if only
    // some could, the pool keeps those (GetNumberOfThreads says how many).
    void Configure(unsigned int threads, ThreadHook onThreadStart, ThreadHook onThreadStop,
                   ErrorHook onError);

    // The number of workers, and how many of them are running a job now.
    unsigned int GetNumberOfThreads() const;
    unsigned int GetThreadPoolUseCount() const;

    // Queues a job. Throws std::invalid_argument for an empty job and
    // std::logic_error once shutdown has begun (unless called from a worker).
    void Submit(Job job);

    // Whether the calling thread is one of this pool's workers.
    bool IsPoolThread() const;
    // The pool whose worker the calling thread is; null on other threads.
    static TThreadPool const* CurrentPool() noexcept;

    // See the top. Idempotent; throws std::logic_error on one of its workers.
    void Shutdown();

private:
    struct Hooks {
        ThreadHook m_onStart;
        ThreadHook m_onStop;
        ErrorHook m_onError;
    };

    void StartWorkers(unsigned int threads, Hooks const& hooks);
    void StopWorkers();
    void WorkerLoop(std::uint64_t generation, Hooks hooks);
    void RunQueuedJobsHere();

    // Serialises Configure, the implicit start and Shutdown, which join and
    // start threads; taken before m_mutex, never while holding it.
    std::mutex m_configMutex;
    std::vector<std::thread> m_threads;
    // The hooks of the current workers; the error hook also serves the jobs
    // that Shutdown runs itself.
    Hooks m_lastHooks;

    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Job> m_queue;
    // Raised by Configure: workers of an older generation exit.
    std::uint64_t m_generation = 0;
    unsigned int m_threadCount = 0;
    unsigned int m_busyCount = 0;
    bool m_stopping = false;
};

}  // namespace qel::sys
