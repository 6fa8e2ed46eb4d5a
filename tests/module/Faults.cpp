#include "tests/module/Faults.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "contracts/RkClipCore.h"
#include "contracts/RkKernel.h"

// The functions below stand before those of the libraries, also for the libraries' own calls.
#define RK_INTERPOSED __attribute__((visibility("default")))

namespace {

constexpr int kNever = -1;
thread_local int t_failing = kNever;
thread_local int t_creations = 0;
std::atomic<int> g_handles = 0;
std::atomic<int> g_blocks = 0;

bool Fails() {
  return t_creations++ == t_failing;
}

template <class Function>
Function* Next(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

HANDLE Counted(HANDLE handle) {
  if (handle != nullptr) ++g_handles;
  return handle;
}

void* Allocate(size_t size) {
  void* memory = Fails() ? nullptr : std::malloc(size != 0 ? size : 1);
  if (memory != nullptr) ++g_blocks;
  return memory;
}

void* AllocateOrThrow(size_t size) {
  if (void* memory = Allocate(size)) return memory;
  throw std::bad_alloc();
}

void Free(void* memory) {
  if (memory == nullptr) return;
  --g_blocks;
  std::free(memory);
}

}  // namespace

void FailCreation(int n) {
  t_failing = n;
  t_creations = 0;
}
int EndFailing() {
  t_failing = kNever;
  return t_creations;
}
int LiveHandles() {
  return g_handles;
}
int LiveBlocks() {
  return g_blocks;
}

RK_INTERPOSED HANDLE CreateEventW(SECURITY_ATTRIBUTES* attributes, BOOL manual, BOOL set, PCWSTR name) {
  static const auto create = Next(&CreateEventW, "_Z12CreateEventWP19SECURITY_ATTRIBUTESiiPKw");
  return Fails() ? nullptr : Counted(create(attributes, manual, set, name));
}
RK_INTERPOSED HANDLE CreateSemaphoreW(SECURITY_ATTRIBUTES* attributes, LONG initial, LONG maximum,
                                      PCWSTR name) {
  static const auto create = Next(&CreateSemaphoreW, "_Z16CreateSemaphoreWP19SECURITY_ATTRIBUTESiiPKw");
  return Fails() ? nullptr : Counted(create(attributes, initial, maximum, name));
}
RK_INTERPOSED BOOL CloseHandle(HANDLE object) {
  static const auto close = Next(&CloseHandle, "_Z11CloseHandlePv");
  --g_handles;
  return close(object);
}
RK_INTERPOSED int RkCreateWorkerThread(int priority, IRkWorkerThread** thread) {
  static const auto create = Next(&RkCreateWorkerThread, "_Z20RkCreateWorkerThreadiPP15IRkWorkerThread");
  return Fails() ? 0 : create(priority, thread);
}
RK_INTERPOSED int RkCreateClipElementList(IRkClipElementList** list) {
  static const auto create =
      Next(&RkCreateClipElementList, "_Z23RkCreateClipElementListPP18IRkClipElementList");
  return Fails() ? 0 : create(list);
}

RK_INTERPOSED void* operator new(size_t size) {
  return AllocateOrThrow(size);
}
RK_INTERPOSED void* operator new[](size_t size) {
  return AllocateOrThrow(size);
}
RK_INTERPOSED void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size);
}
RK_INTERPOSED void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size);
}
RK_INTERPOSED void operator delete(void* memory) noexcept {
  Free(memory);
}
RK_INTERPOSED void operator delete[](void* memory) noexcept {
  Free(memory);
}
RK_INTERPOSED void operator delete(void* memory, size_t) noexcept {
  Free(memory);
}
RK_INTERPOSED void operator delete[](void* memory, size_t) noexcept {
  Free(memory);
}
