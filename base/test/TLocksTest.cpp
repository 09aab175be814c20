#include "qel/sys/TLocks.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace qel::sys {
namespace {

// A lock that excluded wrongly would hang these tests rather than fail them.
TEST(TLocksTest, ReadersShareWritersExcludeAndMutexRecurses) {
    TReadWriteLock lock(0);
    std::atomic<bool> writerIn{false};
    lock.LockRead();
    std::thread([&] { TReadLocker again(lock); }).join();
    std::thread writer([&] {
        TWriteLocker hold(lock);
        writerIn = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(writerIn);
    lock.UnlockRead();
    writer.join();
    EXPECT_TRUE(writerIn);

    TRecursiveMutex mutex;
    mutex.Lock();
    mutex.Lock();
    mutex.Unlock();
    mutex.Unlock();
    std::thread([&] {
        mutex.Lock();
        mutex.Unlock();
    }).join();
}

}  // namespace
}  // namespace qel::sys
