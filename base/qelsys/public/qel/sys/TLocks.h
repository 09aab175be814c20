#pragma once

// The locks of the base layer. TReadWriteLock is a shared/exclusive lock whose
// readers do not exclude each other; TRecursiveMutex may be locked again by the
// thread that holds it. Neither is copyable. Lock and unlock calls must pair
// on the same thread.

#include <mutex>
#include <shared_mutex>

namespace qel::sys {

class TReadWriteLock {
public:
    // The argument is a spin count hint of the platform lock; it is unused.
    explicit TReadWriteLock(unsigned int = 0) {}
    TReadWriteLock(TReadWriteLock const&) = delete;
    TReadWriteLock& operator=(TReadWriteLock const&) = delete;

    void LockRead() { m_lock.lock_shared(); }
    void UnlockRead() { m_lock.unlock_shared(); }
    void Lock() { m_lock.lock(); }
    void Unlock() { m_lock.unlock(); }

private:
    std::shared_mutex m_lock;
};

class TRecursiveMutex {
public:
    TRecursiveMutex() = default;
    TRecursiveMutex(TRecursiveMutex const&) = delete;
    TRecursiveMutex& operator=(TRecursiveMutex const&) = delete;

    void Lock() { m_lock.lock(); }
    void Unlock() { m_lock.unlock(); }

private:
    std::recursive_mutex m_lock;
};

// Scoped holders for the two sides of a TReadWriteLock.
class TReadLocker {
public:
    explicit TReadLocker(TReadWriteLock& lock) : m_lock(lock) { m_lock.LockRead(); }
    ~TReadLocker() { m_lock.UnlockRead(); }
    TReadLocker(TReadLocker const&) = delete;
    TReadLocker& operator=(TReadLocker const&) = delete;

private:
    TReadWriteLock& m_lock;
};

class TWriteLocker {
public:
    explicit TWriteLocker(TReadWriteLock& lock) : m_lock(lock) { m_lock.Lock(); }
    ~TWriteLocker() { m_lock.Unlock(); }
    TWriteLocker(TWriteLocker const&) = delete;
    TWriteLocker& operator=(TWriteLocker const&) = delete;

private:
    TReadWriteLock& m_lock;
};

}  // namespace qel::sys
