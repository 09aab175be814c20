#pragma once

// The outcome of one piece of work scheduled on a TThreadPool: whether it has
// run, and the exception it threw, if any. ScheduleOnThreadPool queues the
// work and returns its future; the future and the queued job share one state,
// so dropping every future does not cancel the work.
//
// Waiting never deadlocks on the pool: if no worker has started the work
// when Wait is called, the waiter claims it and runs it itself. So a job may
// wait for work it scheduled even when every worker is busy (or there is only
// one). The price is that work may run on the waiting thread instead of a
// worker; it runs exactly once either way.
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

    // Returns once the work has run; runs it here if no one has started it.
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
