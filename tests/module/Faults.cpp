#include "tests/module/Faults.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "tests/support/RkFakes.h"

namespace {

constexpr int kNever = -1;
thread_local int t_failing = kNever;
thread_local int t_allocations = 0;
std::atomic<int> g_blocks = 0;

bool Fails() {
  return t_allocations++ == t_failing;
}

void* Allocate(size_t size) {
  void* memory = Fails() ? nullptr : std::malloc(size != 0 ? size : 1);
  if (memory != nullptr) ++g_blocks;
  return memory;
}

}  // namespace

void FailAllocation(int n) {
  t_failing = n;
  t_allocations = 0;
}
int EndFailing() {
  t_failing = kNever;
  return t_allocations;
}

int FailEach(const char* what, const std::function<bool()>& work) {
  EXPECT_TRUE(work()) << what;  // also warms up what is made once
  for (int n = 0;; ++n) {
    SCOPED_TRACE(testing::Message() << what << ", allocation " << n);
    const int blocks = g_blocks;
    FailAllocation(n);
    bool succeeded = false;
    EXPECT_NO_THROW(succeeded = work());
    const bool failed = EndFailing() > n;
    EXPECT_TRUE(failed || succeeded) << "fails with all its memory";
    EXPECT_TRUE(WaitUntil([&] { return g_blocks == blocks; })) << g_blocks - blocks << " blocks are left";
    if (!failed || testing::Test::HasFailure()) return n;
  }
}

// The program replaces the operators for every library too. Handles, threads and lists fail with the memory
// that they are made of. The forms for arrays call these.
void* operator new(size_t size) {
  if (void* memory = Allocate(size)) return memory;
  throw std::bad_alloc();
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size);
}
void operator delete(void* memory) noexcept {
  if (memory == nullptr) return;
  --g_blocks;
  std::free(memory);
}
void operator delete(void* memory, size_t) noexcept {
  operator delete(memory);
}
