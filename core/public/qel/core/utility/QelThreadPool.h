#pragma once

// The library's parallel work, run on the process's worker pool
// (qel::sys::TThreadPool). The host decides how many threads exist: it calls
// Initialize once at set-up. The library then asks RecommendedNumberOfWorkers
// how many tasks to split a job into, schedules them with ScheduleTaskWorker
// and collects them with Wait.
//
// Thread safety: every function may be called from any thread once
// Initialize has run, and from inside a task. A task may wait for tasks it
// scheduled: Wait runs any of them that no worker has started on the waiting
// thread itself, so waiting never deadlocks the pool, whatever its size.

#include <functional>
#include <memory>
#include <vector>

namespace qel::core {

class QelThreadPool {
public:
    // One scheduled task. Only Wait looks inside; dropping a handle does not
    // cancel its task, which still runs.
    class TaskWorkerHandle {
    public:
        virtual ~TaskWorkerHandle() = default;
        TaskWorkerHandle(TaskWorkerHandle const&) = delete;
        TaskWorkerHandle& operator=(TaskWorkerHandle const&) = delete;

    protected:
        TaskWorkerHandle() = default;
    };

    // One worker per hardware thread, as std::thread::hardware_concurrency()
    // counts them (1 where that is unknown; at most the pool's maximum).
    static void Initialize();
    // Gives the pool `workers` threads (0 counts as 1) and no hooks. Threads
    // that already exist finish their current task and are replaced; queued
    // tasks are kept. Throws QelRuntimeException: OutOfRange above
    // sys::TThreadPool::kMaxThreads, IllegalOperation on one of the pool's
    // threads or once the process is shutting the pool down.
    static void Initialize(unsigned int workers);

    // How many tasks to split work into when `wanted` would be ideal, given
    // that `used` of the pool's `total` threads are busy: at most half the
    // pool, halved (then quartered) until it fits beside the busy threads,
    // else 0.
    static unsigned int RecommendedNumberOfWorkers(unsigned int wanted, unsigned int used,
                                                   unsigned int total);
    // The same with the pool's threads in use and its size now.
    static unsigned int RecommendedNumberOfWorkers(unsigned int wanted);

    // Queues `work` on the pool. Throws QelRuntimeException:
    // NullIsNotAValidArgument for empty work, IllegalOperation once the pool
    // is shutting down.
    static std::unique_ptr<TaskWorkerHandle> ScheduleTaskWorker(std::function<void()> work);

    // Returns when every task of `handles` has run. If any threw, rethrows
    // the exception of the first such task in the order of `handles` (the
    // others are dropped). An empty vector returns at once. Each handle is
    // emptied. Throws QelRuntimeException, after waiting for all the other
    // tasks: NullIsNotAValidArgument for a null handle, IllegalOperation for
    // one not made by ScheduleTaskWorker or already waited for.
    static void Wait(std::vector<std::unique_ptr<TaskWorkerHandle>>&& handles);
};

}  // namespace qel::core
