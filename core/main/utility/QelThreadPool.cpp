#include "qel/core/utility/QelThreadPool.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <utility>

#include "qel/core/utility/Validation.h"
#include "qel/sys/TThreadPool.h"
#include "qel/sys/TaskFuture.h"

namespace qel::core {

namespace {

class TaskWorkerHandleImpl final : public QelThreadPool::TaskWorkerHandle {
public:
    explicit TaskWorkerHandleImpl(sys::TaskFuture future) : m_future(std::move(future)) {}

    // Empty once Wait has taken it.
    sys::TaskFuture m_future;
};

}  // namespace

void QelThreadPool::Initialize() {
    // The hardware's thread count, but 1 where it is unknown and never more
    // than the pool takes.
    Initialize(sys::TThreadPool::DefaultNumberOfThreads());
}

void QelThreadPool::Initialize(unsigned int workers) {
    QEL_VALIDATE(workers <= sys::TThreadPool::kMaxThreads, QelError::OutOfRange,
                 u"worker count " + TStringCore::number(workers));
    sys::TThreadPool& pool = sys::TThreadPool::Get();
    // The pool would have to join the thread that asks.
    QEL_VALIDATE(!pool.IsPoolThread(), QelError::IllegalOperation,
                 "the worker pool cannot be set up from one of its own tasks");
    try {
        pool.Configure(workers, {}, {}, {});
    } catch (std::logic_error const& e) {
        QEL_VALIDATION_FAILED(QelError::IllegalOperation, TStringCore::fromUtf8(e.what()));
    }
}

unsigned int QelThreadPool::RecommendedNumberOfWorkers(unsigned int wanted, unsigned int used,
                                                       unsigned int total) {
    unsigned int const workers = std::min(total / 2, wanted);
    // Sums in 64 bits: `used` comes from the caller and may be anything.
    auto const fits = [&](unsigned int count) { return std::uint64_t{count} + used <= total; };
    for (unsigned int count : {workers, workers / 2, workers / 4}) {
        if (fits(count))
            return count;
    }
    return 0;
}

unsigned int QelThreadPool::RecommendedNumberOfWorkers(unsigned int wanted) {
    sys::TThreadPool const& pool = sys::TThreadPool::Get();
    return RecommendedNumberOfWorkers(wanted, pool.GetThreadPoolUseCount(),
                                      pool.GetNumberOfThreads());
}

std::unique_ptr<QelThreadPool::TaskWorkerHandle> QelThreadPool::ScheduleTaskWorker(
    std::function<void()> work) {
    QEL_VALIDATE(work != nullptr, QelError::NullIsNotAValidArgument, "task work");
    try {
        return std::make_unique<TaskWorkerHandleImpl>(sys::ScheduleOnThreadPool(std::move(work)));
    } catch (std::logic_error const& e) {
        QEL_VALIDATION_FAILED(QelError::IllegalOperation, TStringCore::fromUtf8(e.what()));
    }
}

void QelThreadPool::Wait(std::vector<std::unique_ptr<TaskWorkerHandle>>&& handles) {
    if (handles.empty())
        return;
    std::vector<sys::TaskFuture> futures;
    futures.reserve(handles.size());
    std::size_t const none = handles.size();
    std::size_t firstNull = none;
    std::size_t firstForeign = none;
    for (std::size_t i = 0; i < handles.size(); ++i) {
        auto* const impl = dynamic_cast<TaskWorkerHandleImpl*>(handles[i].get());
        if (impl != nullptr && impl->m_future.IsValid())
            futures.push_back(std::move(impl->m_future));
        else if (handles[i] == nullptr)
            firstNull = std::min(firstNull, i);
        else
            firstForeign = std::min(firstForeign, i);
    }
    // Every task is waited for before anything is thrown: tasks usually refer
    // to the caller's locals, which unwinding would destroy under them.
    for (sys::TaskFuture const& future : futures)
        future.Wait();
    QEL_VALIDATE(firstNull == none, QelError::NullIsNotAValidArgument,
                 u"task handle " + TStringCore::number(firstNull));
    QEL_VALIDATE(firstForeign == none, QelError::IllegalOperation,
                 u"task handle " + TStringCore::number(firstForeign) +
                     u" was not made by ScheduleTaskWorker or was already waited for");
    for (sys::TaskFuture const& future : futures)
        future.CheckForException();
}

}  // namespace qel::core
