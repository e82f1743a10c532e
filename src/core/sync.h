// SPDX-License-Identifier: GPL-3.0-or-later
// The locks of the system: a mutex, a condition and a read-write lock, each a thin layer over the
// standard library that carries Clang's thread-safety attributes (the standard classes do not).
// Locks are taken by scope objects; a lock is never held across a call into another subsystem.
#pragma once

#include <condition_variable>
#include <mutex>
#include <shared_mutex>

#include "core/thread_annotations.h"

namespace quill {

// A mutex. Not recursive.
class CAPABILITY("mutex") CSync {
 public:
  CSync() = default;
  CSync(const CSync&) = delete;
  CSync& operator=(const CSync&) = delete;

  void Lock() ACQUIRE() { m_mutex.lock(); }
  [[nodiscard]] bool TryLock() TRY_ACQUIRE(true) { return m_mutex.try_lock(); }
  void Unlock() RELEASE() { m_mutex.unlock(); }

 private:
  friend class CCondition;
  std::mutex m_mutex;
};

// Holds a CSync for the length of a scope.
class SCOPED_CAPABILITY CSyncLock {
 public:
  explicit CSyncLock(CSync& sync) ACQUIRE(sync) : m_sync(sync) { m_sync.Lock(); }
  ~CSyncLock() RELEASE() { m_sync.Unlock(); }
  CSyncLock(const CSyncLock&) = delete;
  CSyncLock& operator=(const CSyncLock&) = delete;

 private:
  CSync& m_sync;
};

// A condition to wait on with a CSync held. Wake-ups may be spurious: wait in a loop.
class CCondition {
 public:
  void Wait(CSync& sync) REQUIRES(sync) {
    std::unique_lock<std::mutex> lock(sync.m_mutex, std::adopt_lock);
    m_condition.wait(lock);
    lock.release();
  }
  void Signal() { m_condition.notify_one(); }
  void Broadcast() { m_condition.notify_all(); }

 private:
  std::condition_variable m_condition;
};

// Many readers or one writer. Not recursive, not upgradable.
class CAPABILITY("shared_mutex") CReadWriteLock {
 public:
  CReadWriteLock() = default;
  CReadWriteLock(const CReadWriteLock&) = delete;
  CReadWriteLock& operator=(const CReadWriteLock&) = delete;

  void LockRead() ACQUIRE_SHARED() { m_mutex.lock_shared(); }
  void UnlockRead() RELEASE_SHARED() { m_mutex.unlock_shared(); }
  void LockWrite() ACQUIRE() { m_mutex.lock(); }
  void UnlockWrite() RELEASE() { m_mutex.unlock(); }

 private:
  std::shared_mutex m_mutex;
};

// Holds a CReadWriteLock for reading for the length of a scope.
class SCOPED_CAPABILITY CReadLock {
 public:
  explicit CReadLock(CReadWriteLock& lock) ACQUIRE_SHARED(lock) : m_lock(lock) {
    m_lock.LockRead();
  }
  ~CReadLock() RELEASE_GENERIC() { m_lock.UnlockRead(); }
  CReadLock(const CReadLock&) = delete;
  CReadLock& operator=(const CReadLock&) = delete;

 private:
  CReadWriteLock& m_lock;
};

// Holds a CReadWriteLock for writing for the length of a scope.
class SCOPED_CAPABILITY CWriteLock {
 public:
  explicit CWriteLock(CReadWriteLock& lock) ACQUIRE(lock) : m_lock(lock) { m_lock.LockWrite(); }
  ~CWriteLock() RELEASE() { m_lock.UnlockWrite(); }
  CWriteLock(const CWriteLock&) = delete;
  CWriteLock& operator=(const CWriteLock&) = delete;

 private:
  CReadWriteLock& m_lock;
};

}  // namespace quill
