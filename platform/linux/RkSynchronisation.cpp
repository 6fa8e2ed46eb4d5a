// Events, semaphores and the waits for them, under their Windows names.

#include <algorithm>
#include <functional>
#include <new>

#include "platform/linux/CRkWait.h"

namespace {

bool Fail(DWORD code) {
  SetLastError(code);
  return false;
}

HANDLE Create(const SECURITY_ATTRIBUTES* attributes, PCWSTR name, CRkWaitable::EKind kind, DWORD count,
              DWORD maximum) {
  if (attributes != nullptr || name != nullptr) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return nullptr;
  }
  auto* object = new (std::nothrow) CRkWaitable(kind, count, maximum);
  if (object == nullptr) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return object;
}

CRkWaitable* Event(HANDLE handle) {
  CRkWaitable* event = CRkWaitable::FromHandle(handle);
  if (event != nullptr && event->IsEvent()) return event;
  SetLastError(ERROR_INVALID_HANDLE);
  return nullptr;
}

}  // namespace

HANDLE CreateEventW(SECURITY_ATTRIBUTES* attributes, BOOL manualReset, BOOL initiallySet, PCWSTR name) {
  const auto kind = manualReset ? CRkWaitable::EKind::ManualResetEvent : CRkWaitable::EKind::AutoResetEvent;
  return Create(attributes, name, kind, initiallySet ? 1 : 0, 1);
}

BOOL SetEvent(HANDLE event) {
  CRkWaitable* object = Event(event);
  if (object == nullptr) return FALSE;
  object->Set();
  return TRUE;
}

BOOL ResetEvent(HANDLE event) {
  CRkWaitable* object = Event(event);
  if (object == nullptr) return FALSE;
  object->Reset();
  return TRUE;
}

HANDLE CreateSemaphoreW(SECURITY_ATTRIBUTES* attributes, LONG initialCount, LONG maximumCount, PCWSTR name) {
  if (maximumCount < 1 || initialCount < 0 || initialCount > maximumCount) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  return Create(attributes, name, CRkWaitable::EKind::Semaphore, static_cast<DWORD>(initialCount),
                static_cast<DWORD>(maximumCount));
}

BOOL ReleaseSemaphore(HANDLE semaphore, LONG count, LONG* previous) {
  CRkWaitable* object = CRkWaitable::FromHandle(semaphore);
  if (object == nullptr || !object->IsSemaphore()) return Fail(ERROR_INVALID_HANDLE);
  if (count < 1) return Fail(ERROR_INVALID_PARAMETER);
  DWORD before = 0;
  if (!object->Release(static_cast<DWORD>(count), &before)) return Fail(ERROR_TOO_MANY_POSTS);
  if (previous != nullptr) *previous = static_cast<LONG>(before);
  return TRUE;
}

BOOL CloseHandle(HANDLE object) {
  CRkWaitable* waitable = CRkWaitable::FromHandle(object);
  if (waitable == nullptr) return Fail(ERROR_INVALID_HANDLE);
  delete waitable;
  return TRUE;
}

DWORD WaitForSingleObject(HANDLE object, DWORD timeoutMs) {
  CRkWaitable* waitable = CRkWaitable::FromHandle(object);
  if (waitable == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return WAIT_FAILED;
  }
  // Fast path: already signalled.
  const CRkWaitable::State seen = waitable->Look();
  if (CRkWaitable::IsSignalled(seen) && waitable->TakeIfStill(seen)) return WAIT_OBJECT_0;
  return CRkWait(&waitable, 1, false).Run(timeoutMs);
}

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL waitAll, DWORD timeoutMs) {
  if (count < 1 || count > MAXIMUM_WAIT_OBJECTS || objects == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return WAIT_FAILED;
  }
  std::array<CRkWaitable*, MAXIMUM_WAIT_OBJECTS> waitables;
  for (DWORD i = 0; i < count; ++i) {
    waitables[i] = CRkWaitable::FromHandle(objects[i]);
    if (waitables[i] != nullptr) continue;
    SetLastError(ERROR_INVALID_HANDLE);
    return WAIT_FAILED;
  }
  if (waitAll) {
    std::sort(waitables.begin(), waitables.begin() + count, std::less<>());
    if (std::adjacent_find(waitables.begin(), waitables.begin() + count) != waitables.begin() + count) {
      SetLastError(ERROR_INVALID_PARAMETER);
      return WAIT_FAILED;
    }
  }
  return CRkWait(waitables.data(), count, waitAll != FALSE).Run(timeoutMs);
}
