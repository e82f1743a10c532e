// SPDX-License-Identifier: GPL-3.0-or-later
// Shared ownership of immutable records: the count lies in the record itself and changes by atomic
// add, so a table, a worker's walk and a pending list can share one record with no copy and no
// lock. A record is filled in by one thread before it is shared and never modified afterwards.
#pragma once

#include <atomic>
#include <cstdint>
#include <new>
#include <utility>

namespace quill {

// Base of a counted record. `T` is the record itself; it is destroyed when the last CRef goes.
template <class T>
class CReferenced {
 public:
  CReferenced() = default;
  CReferenced(const CReferenced&) = delete;
  CReferenced& operator=(const CReferenced&) = delete;

  void AddReference() const { m_references.fetch_add(1, std::memory_order_relaxed); }
  void DropReference() const {
    // Release orders this thread's reads of the record before the drop, acquire the destruction
    // after everybody else's.
    if (m_references.fetch_sub(1, std::memory_order_acq_rel) == 1)
      delete static_cast<const T*>(this);
  }

 protected:
  ~CReferenced() = default;

 private:
  mutable std::atomic<int32_t> m_references{0};
};

// One reference to a counted record, or null.
template <class T>
class CRef {
 public:
  CRef() = default;
  explicit CRef(T* record) : m_record(record) {
    if (m_record) m_record->AddReference();
  }
  CRef(const CRef& other) : CRef(other.m_record) {}
  CRef(CRef&& other) noexcept : m_record(std::exchange(other.m_record, nullptr)) {}
  template <class U>
  CRef(const CRef<U>& other) : CRef(other.Get()) {}  // NOLINT: CRef<T> to CRef<const T>
  ~CRef() {
    if (m_record) m_record->DropReference();
  }
  CRef& operator=(CRef other) noexcept {
    std::swap(m_record, other.m_record);
    return *this;
  }

  [[nodiscard]] T* Get() const { return m_record; }
  T* operator->() const { return m_record; }
  // As of a pointer: the caller knows that it is not null.
  // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.UndefReturn)
  T& operator*() const { return *m_record; }
  explicit operator bool() const { return m_record != nullptr; }
  friend bool operator==(const CRef& a, const CRef& b) { return a.m_record == b.m_record; }

 private:
  T* m_record = nullptr;
};

// Makes a counted record; null when memory is short, which callers treat as an ordinary failure.
template <class T, class... Arguments>
[[nodiscard]] CRef<T> MakeRef(Arguments&&... arguments) {
  return CRef<T>(new (std::nothrow) T(std::forward<Arguments>(arguments)...));
}

}  // namespace quill
