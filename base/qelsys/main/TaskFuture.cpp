#include "qel/sys/TaskFuture.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <future>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace qel::sys {

namespace detail {

// The exception of a task that threw, owned by its futures. Guarded by the
// state's mutex.
struct TaskOutcome {
    std::exception_ptr m_error;
};

// What a task's queued job and its futures share. The work runs at most once:
// whoever moves the phase from Pending to Running (a worker or a waiter) runs
// it; everyone else waits for Done.
class TaskState {
public:
    TaskState(std::function<void()> work, std::weak_ptr<TaskOutcome> outcome,
              TThreadPool const* pool)
        : m_work(std::move(work)), m_outcome(std::move(outcome)), m_pool(pool) {}

    // Only a thread of the task's own pool may take pending work over: the
    // work then still runs on one of the pool's threads, and a job waiting for
    // work it scheduled cannot starve the pool of the worker that would run
    // it. Any other thread just waits.
    // The pool is compared, never touched: futures may outlive it.
    bool MayRunHere() const { return TThreadPool::CurrentPool() == m_pool; }

    // REQUIRES: the caller holds a reference to this state, which keeps it
    // alive through the notification below.
    void RunIfPending() {
        {
            std::lock_guard const lock(m_mutex);
            if (m_phase != Phase::Pending)
                return;
            m_phase = Phase::Running;
        }
        std::exception_ptr error;
        try {
            m_work();
        } catch (...) {
            error = std::current_exception();
        }
        // The captures die before any waiter resumes: they often refer to
        // the waiter's own locals.
        m_work = nullptr;
        {
            std::lock_guard const lock(m_mutex);
            // With no future left, nobody can look at the exception: it dies
            // here with `error`.
            if (std::shared_ptr<TaskOutcome> const outcome = m_outcome.lock())
                outcome->m_error = std::move(error);
            m_phase = Phase::Done;
        }
        m_done.notify_all();
    }

    void WaitUntilDone() {
        std::unique_lock lock(m_mutex);
        m_done.wait(lock, [&] { return m_phase == Phase::Done; });
    }

    bool WaitUntilDone(std::chrono::milliseconds timeout) {
        using Clock = std::chrono::steady_clock;
        auto const now = Clock::now();
        timeout = std::max(timeout, std::chrono::milliseconds::zero());
        // A time-out past what the clock can represent means no time-out.
        if (timeout >=
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::time_point::max() - now)) {
            WaitUntilDone();
            return true;
        }
        std::unique_lock lock(m_mutex);
        return m_done.wait_until(lock, now + timeout, [&] { return m_phase == Phase::Done; });
    }

    // REQUIRES: done.
    std::exception_ptr Error(TaskOutcome const& outcome) {
        std::lock_guard const lock(m_mutex);
        return outcome.m_error;
    }

private:
    enum class Phase { Pending, Running, Done };

    std::function<void()> m_work;
    std::weak_ptr<TaskOutcome> m_outcome;
    TThreadPool const* m_pool;
    std::mutex m_mutex;
    std::condition_variable m_done;
    Phase m_phase = Phase::Pending;
};

}  // namespace detail

detail::TaskState& TaskFuture::State() const {
    if (!m_state)
        throw std::future_error(std::future_errc::no_state);
    return *m_state;
}

void TaskFuture::Wait() const {
    detail::TaskState& state = State();
    if (state.MayRunHere())
        state.RunIfPending();
    state.WaitUntilDone();
}

bool TaskFuture::WaitFor(std::chrono::milliseconds timeout) const {
    return State().WaitUntilDone(timeout);
}

void TaskFuture::CheckForException() const {
    Wait();
    if (std::exception_ptr const error = m_state->Error(*m_outcome))
        std::rethrow_exception(error);
}

TaskFuture ScheduleOnThreadPool(TThreadPool& pool, std::function<void()> work) {
    if (!work)
        throw std::invalid_argument("ScheduleOnThreadPool: empty work");
    auto outcome = std::make_shared<detail::TaskOutcome>();
    auto state = std::make_shared<detail::TaskState>(std::move(work), outcome, &pool);
    pool.Submit([state] { state->RunIfPending(); });
    return TaskFuture(std::move(state), std::move(outcome));
}

TaskFuture ScheduleOnThreadPool(std::function<void()> work) {
    return ScheduleOnThreadPool(TThreadPool::Get(), std::move(work));
}

}  // namespace qel::sys
