#pragma once

#include <utility>

#include "platform/RkPlatform.h"

// Owns an event or semaphore and closes it. Converts to the HANDLE that the waits take, which is null when
// the object could not be created.
class CRkHandle {
 public:
  CRkHandle() = default;
  explicit CRkHandle(HANDLE handle) : m_handle(handle) {}
  CRkHandle(CRkHandle&& other) noexcept : m_handle(std::exchange(other.m_handle, nullptr)) {}
  CRkHandle& operator=(CRkHandle&& other) noexcept {
    std::swap(m_handle, other.m_handle);
    return *this;
  }
  ~CRkHandle() {
    if (m_handle != nullptr) CloseHandle(m_handle);
  }

  static CRkHandle ManualResetEvent() { return CRkHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr)); }
  static CRkHandle AutoResetEvent() { return CRkHandle(CreateEventW(nullptr, FALSE, FALSE, nullptr)); }
  static CRkHandle Semaphore(LONG initialCount, LONG maximumCount) {
    return CRkHandle(CreateSemaphoreW(nullptr, initialCount, maximumCount, nullptr));
  }

  operator HANDLE() const { return m_handle; }

 private:
  HANDLE m_handle = nullptr;
};

// TRUE when the object was signalled within the time; the wait has then consumed a unit of it.
inline bool RkWait(HANDLE object, DWORD timeoutMs) {
  return WaitForSingleObject(object, timeoutMs) == WAIT_OBJECT_0;
}
