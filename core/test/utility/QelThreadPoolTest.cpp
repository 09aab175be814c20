#include "qel/core/utility/QelThreadPool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <stdexcept>
#include <vector>

#include "core/test/Refusal.h"
#include "qel/sys/TThreadPool.h"

namespace qel::core {
namespace {

using Handles = std::vector<std::unique_ptr<QelThreadPool::TaskWorkerHandle>>;

class QelThreadPoolTest : public ::testing::Test {
protected:
    void SetUp() override { QelThreadPool::Initialize(4); }
};

TEST_F(QelThreadPoolTest, RecommendedNumberOfWorkers) {
    // {wanted, used, total, recommended}
    // clang-format off
    unsigned int const table[][4] = {{8, 0, 8, 4}, {8, 6, 8, 2}, {8, 7, 8, 1}, {8, 8, 8, 0},
        {100, 0, 16, 8}, {5, 0, 5, 2}, {7, 13, 16, 3}, {7, 14, 16, 1}, {1, 0, 1, 0},
        {8, 9, 8, 0}, {UINT_MAX, UINT_MAX, UINT_MAX, 0}};
    // clang-format on
    for (auto const& row : table)
        EXPECT_EQ(QelThreadPool::RecommendedNumberOfWorkers(row[0], row[1], row[2]), row[3])
            << row[0] << ", " << row[1] << ", " << row[2];

    EXPECT_EQ(QelThreadPool::RecommendedNumberOfWorkers(8), 2u);  // 4 idle workers
    QelThreadPool::Initialize(0);
    EXPECT_EQ(sys::TThreadPool::Get().GetNumberOfThreads(), 1u);
    EXPECT_TRUE(test::MatchesRefusal(
        test::Refusal([] { QelThreadPool::Initialize(sys::TThreadPool::kMaxThreads + 1); }),
        "out of range\nworker count 4097 | <any condition>"));
}

// The first failure in the order of the handles wins, though a later task
// failed earlier, and only once every task has run. Wait on nothing returns.
TEST_F(QelThreadPoolTest, FirstFailureInOrderReachesTheWaiter) {
    QelThreadPool::Wait({});
    std::atomic<int> ran{0};
    std::promise<void> laterFailed;
    std::shared_future<void> const laterFailedSeen = laterFailed.get_future().share();
    Handles handles;
    for (int i = 0; i < 5; ++i) {
        handles.push_back(QelThreadPool::ScheduleTaskWorker([&, i] {
            ++ran;
            if (i == 1 &&
                laterFailedSeen.wait_for(std::chrono::minutes(2)) == std::future_status::ready)
                throw std::runtime_error("first");
            if (i == 3) {
                laterFailed.set_value();
                throw std::runtime_error("second");
            }
        }));
    }
    try {
        QelThreadPool::Wait(std::move(handles));
        ADD_FAILURE() << "nothing thrown";
    } catch (std::runtime_error const& e) {
        EXPECT_STREQ(e.what(), "first");
    }
    EXPECT_EQ(ran, 5);
}

TEST_F(QelThreadPoolTest, ManySmallTasksRunExactlyOnce) {
    std::vector<std::atomic<int>> runs(2000);
    Handles handles;
    for (std::atomic<int>& run : runs)
        handles.push_back(QelThreadPool::ScheduleTaskWorker([&run] { ++run; }));
    QelThreadPool::Wait(std::move(handles));
    for (std::size_t i = 0; i < runs.size(); ++i)
        ASSERT_EQ(runs[i], 1) << "task " << i;
}

// One worker, busy with a task that waits for the tasks it scheduled.
TEST_F(QelThreadPoolTest, WaitingInsideATaskDoesNotDeadlock) {
    QelThreadPool::Initialize(1);
    std::atomic<int> ran{0};
    std::promise<void> done;
    Handles outer;
    outer.push_back(QelThreadPool::ScheduleTaskWorker([&] {
        Handles inner;
        for (int i = 0; i < 8; ++i)
            inner.push_back(QelThreadPool::ScheduleTaskWorker([&] { ++ran; }));
        QelThreadPool::Wait(std::move(inner));
        done.set_value();
    }));
    if (done.get_future().wait_for(std::chrono::minutes(2)) != std::future_status::ready) {
        ADD_FAILURE() << "waiting inside a task deadlocked";
        std::fflush(stdout);
        std::_Exit(EXIT_FAILURE);  // the process's pool cannot join a stuck worker
    }
    QelThreadPool::Wait(std::move(outer));
    EXPECT_EQ(ran, 8);
}

TEST_F(QelThreadPoolTest, BadHandlesAndWorkAreRefusedAfterTheRestRan) {
    struct Foreign : QelThreadPool::TaskWorkerHandle {};
    std::atomic<int> ran{0};
    Handles handles;
    handles.push_back(QelThreadPool::ScheduleTaskWorker([&] { ++ran; }));
    handles.push_back(nullptr);
    handles.push_back(std::make_unique<Foreign>());
    EXPECT_TRUE(
        test::MatchesRefusal(test::Refusal([&] { QelThreadPool::Wait(std::move(handles)); }),
                             "null is not a valid argument\ntask handle 1 | <any condition>"));
    EXPECT_EQ(ran, 1);
    handles.erase(handles.begin() + 1);  // the first was emptied by the wait
    EXPECT_TRUE(
        test::MatchesRefusal(test::Refusal([&] { QelThreadPool::Wait(std::move(handles)); }),
                             "illegal operation\ntask handle 0 was not made by "
                             "ScheduleTaskWorker or was already waited for | "
                             "<any condition>"));
    EXPECT_TRUE(test::MatchesRefusal(test::Refusal([] { QelThreadPool::ScheduleTaskWorker({}); }),
                                     "null is not a valid argument\ntask work | <any condition>"));
}

}  // namespace
}  // namespace qel::core
