#pragma once

// The outcome of one piece of work scheduled on a TThreadPool: whether it has
// run, and the exception it threw, if any. ScheduleOnThreadPool queues the
// work and returns its future; the future and the queued job share one state,
// so dropping every future does not cancel the work.
//
// Work runs on the pool's threads, exactly once. Waiting never deadlocks on
// the pool: when a thread of the pool waits for work that no worker has
// started, it claims the work and runs it itself, so a job may wait for work
// it scheduled even when every worker is busy (or there is only one). Other
// threads just wait.
//
// A future may be copied; all copies see the same state, and any number of
// threads may wait on them at once.

#include <chrono>
#include <functional>
#include <memory>

#include "qel/sys/TThreadPool.h"

namespace qel::sys {

namespace detail {
class TaskState;
struct TaskOutcome;
}  // namespace detail

class TaskFuture {
public:
    // An empty future; every call but IsValid throws
    // std::future_error(std::future_errc::no_state).
    TaskFuture() noexcept = default;

    bool IsValid() const noexcept { return m_state != nullptr; }

    // Returns once the work has run; on a thread of the pool, runs it here if
    // no one has started it.
    void Wait() const;
    // Waits at most `timeout` (a negative one counts as zero), without ever
    // running the work here; true when it has run.
    bool WaitFor(std::chrono::milliseconds timeout) const;
    // Wait(), then rethrows the exception the work threw, if it threw.
    void CheckForException() const;

private:
    friend TaskFuture ScheduleOnThreadPool(TThreadPool& pool, std::function<void()> work);
    TaskFuture(std::shared_ptr<detail::TaskState> state,
               std::shared_ptr<detail::TaskOutcome> outcome) noexcept
        : m_state(std::move(state)), m_outcome(std::move(outcome)) {}
    detail::TaskState& State() const;

    std::shared_ptr<detail::TaskState> m_state;
    // Held by the futures alone, so that the exception a waiter rethrows is
    // never released last by a worker that still holds the state.
    std::shared_ptr<detail::TaskOutcome> m_outcome;
};

// Queues `work` on `pool`. Throws std::invalid_argument for empty work, and
// what TThreadPool::Submit throws (std::logic_error once the pool shuts down).
TaskFuture ScheduleOnThreadPool(TThreadPool& pool, std::function<void()> work);
// The same on the process's pool, TThreadPool::Get().
TaskFuture ScheduleOnThreadPool(std::function<void()> work);

}  // namespace qel::sys
