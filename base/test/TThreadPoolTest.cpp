#include "qel/sys/TThreadPool.h"
#include "qel/sys/TaskFuture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <latch>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace qel::sys {
namespace {

using std::chrono::milliseconds;

// Set by the start hook on the workers of the pools below.
thread_local bool t_onWorker = false;

TEST(TThreadPoolTest, ConfigureHooksAndRefusals) {
    std::atomic<int> starts{0}, stops{0};
    std::vector<std::string> errors;  // one worker writes; read after it is joined
    TThreadPool pool;
    EXPECT_EQ(pool.GetNumberOfThreads(), 0u);
    EXPECT_THROW(pool.Configure(TThreadPool::kMaxThreads + 1, {}, {}, {}), std::invalid_argument);
    pool.Configure(
        0, [&] { ++starts; }, [&] { ++stops; },
        [&](TStringCore text) { errors.push_back(text.toStdString()); });
    EXPECT_EQ(pool.GetNumberOfThreads(), 1u);
    pool.Submit([] { throw std::runtime_error("boom"); });
    pool.Submit([] { throw 7; });
    std::promise<bool> refused;
    pool.Submit([&] {
        try {
            pool.Configure(2, {}, {}, {});  // would join its own thread
            refused.set_value(false);
        } catch (std::logic_error const&) {
            refused.set_value(true);
        }
    });
    EXPECT_TRUE(refused.get_future().get());
    pool.Shutdown();
    EXPECT_EQ(starts, 1);
    EXPECT_EQ(stops, 1);
    EXPECT_EQ(errors, (std::vector<std::string>{"boom", "unknown exception"}));
    EXPECT_THROW(pool.Configure(2, {}, {}, {}), std::logic_error);
    EXPECT_THROW(pool.Submit([] {}), std::logic_error);
    EXPECT_THROW(pool.Submit({}), std::invalid_argument);

    TThreadPool unconfigured;  // starts its default workers for the first job
    std::promise<bool> ranOnWorker;
    unconfigured.Submit([&] { ranOnWorker.set_value(unconfigured.IsPoolThread()); });
    EXPECT_TRUE(ranOnWorker.get_future().get());
    EXPECT_EQ(unconfigured.GetNumberOfThreads(), TThreadPool::DefaultNumberOfThreads());
}

// Reconfiguring and shutting down keep every queued job: each runs exactly
// once, on a worker, before Shutdown returns; outside work is then refused.
TEST(TThreadPoolTest, QueuedWorkSurvivesReconfigureAndShutdown) {
    constexpr int kJobs = 200;
    std::vector<std::atomic<int>> runs(kJobs + 1);
    std::atomic<int> offWorkers{0};
    auto const count = [&](int i) {
        ++runs[i];
        offWorkers += t_onWorker ? 0 : 1;
    };
    auto const markWorker = [] { t_onWorker = true; };
    std::promise<void> first, second;
    std::shared_future<void> firstOpen = first.get_future().share();
    std::shared_future<void> secondOpen = second.get_future().share();
    std::latch held(2);
    TThreadPool pool;
    pool.Configure(1, markWorker, {}, {});
    pool.Submit([&] { firstOpen.wait(); });
    for (int i = 0; i < kJobs / 2; ++i)
        pool.Submit([&, i] { count(i); });
    std::thread opener([&] { first.set_value(); });
    pool.Configure(2, markWorker, {}, {});
    opener.join();

    for (int i = 0; i < 2; ++i)
        pool.Submit([&] {
            held.count_down();
            secondOpen.wait();
        });
    for (int i = kJobs / 2; i < kJobs; ++i)
        pool.Submit([&, i] {
            count(i);
            if (i == kJobs - 1)  // queued by a job during shutdown: still runs
                pool.Submit([&] { count(kJobs); });
        });
    held.wait();
    EXPECT_EQ(pool.GetThreadPoolUseCount(), 2u);
    std::thread closer([&] { pool.Shutdown(); });
    // The jobs above are still queued when the closer starts, as both workers
    // are held. Until it refuses outside work, each probe is an ordinary job.
    std::atomic<int> probes{0};
    for (;;) {
        try {
            pool.Submit([&] { --probes; });
        } catch (std::logic_error const&) {
            break;
        }
        ++probes;
        std::this_thread::yield();
    }
    second.set_value();
    closer.join();
    EXPECT_EQ(probes, 0);
    for (int i = 0; i <= kJobs; ++i)
        ASSERT_EQ(runs[i], 1) << "job " << i;
    EXPECT_EQ(offWorkers, 0);  // the workers drained the queue themselves
    EXPECT_EQ(pool.GetThreadPoolUseCount(), 0u);
}

// Waiting in a worker, scheduling and rethrowing are exercised through
// QelThreadPool in the library's tests.
TEST(TaskFutureTest, EmptyFuturesAndWorkAreRefusedAndOutsidersOnlyWatch) {
    TaskFuture const empty;
    EXPECT_THROW(empty.Wait(), std::future_error);
    EXPECT_THROW(empty.CheckForException(), std::future_error);
    TThreadPool pool;
    EXPECT_THROW(ScheduleOnThreadPool(pool, {}), std::invalid_argument);

    pool.Configure(1, {}, {}, {});
    std::promise<void> open;
    std::shared_future<void> opened = open.get_future().share();
    TaskFuture const blocker = ScheduleOnThreadPool(pool, [opened] { opened.wait(); });
    std::thread::id ranOn;
    TaskFuture const queued = ScheduleOnThreadPool(pool, [&] {
        ranOn = std::this_thread::get_id();
        throw std::runtime_error("queued");
    });
    EXPECT_FALSE(queued.WaitFor(milliseconds(0)));  // never takes the work over
    EXPECT_FALSE(queued.WaitFor(milliseconds(-5)));
    // Wait from outside the pool leaves the work to the pool, busy or not.
    std::thread opener([&] {
        std::this_thread::sleep_for(milliseconds(20));
        open.set_value();
    });
    queued.Wait();
    opener.join();
    EXPECT_NE(ranOn, std::this_thread::get_id());
    pool.Shutdown();  // futures outlive their pool
    EXPECT_TRUE(blocker.WaitFor(milliseconds(0)));
    EXPECT_THROW(queued.CheckForException(), std::runtime_error);
    EXPECT_THROW(queued.CheckForException(), std::runtime_error);  // kept
}

}  // namespace
}  // namespace qel::sys
