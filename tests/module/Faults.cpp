#include "tests/module/Faults.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "contracts/RkClipCore.h"
#include "contracts/RkKernel.h"
#include "tests/support/RkFakes.h"

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

}  // namespace

void FailCreation(int n) {
  t_failing = n;
  t_creations = 0;
}
int EndFailing() {
  t_failing = kNever;
  return t_creations;
}
int FailEach(const char* what, const std::function<bool()>& work) {
  EXPECT_TRUE(work()) << what;  // also warms up what is made once
  for (int n = 0;; ++n) {
    SCOPED_TRACE(testing::Message() << what << ", creation " << n);
    const int handles = g_handles;
    const int blocks = g_blocks;
    FailCreation(n);
    bool succeeded = false;
    EXPECT_NO_THROW(succeeded = work());
    const bool failed = EndFailing() > n;
    EXPECT_TRUE(failed || succeeded) << "fails with all its memory";
    EXPECT_TRUE(WaitUntil([&] { return g_handles == handles && g_blocks == blocks; }))
        << g_handles - handles << " handles and " << g_blocks - blocks << " blocks are left";
    if (!failed || testing::Test::HasFailure()) return n;
  }
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

// The forms for arrays call these.
RK_INTERPOSED void* operator new(size_t size) {
  if (void* memory = Allocate(size)) return memory;
  throw std::bad_alloc();
}
RK_INTERPOSED void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size);
}
RK_INTERPOSED void operator delete(void* memory) noexcept {
  if (memory == nullptr) return;
  --g_blocks;
  std::free(memory);
}
RK_INTERPOSED void operator delete(void* memory, size_t) noexcept {
  operator delete(memory);
}
