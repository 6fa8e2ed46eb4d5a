#pragma once

#include <cstddef>
#include <vector>

#include "contracts/RkTypes.h"

// An array that crosses the border between a host and the libraries, which both grow and free it.
//
// Under mingw its memory comes from the process heap, where a release build by MSVC takes and frees its own,
// and follows that compiler's rule for large blocks: aligned to 32 bytes, with the address of the heap block
// just before them. A debug build by MSVC has another array layout and cannot share one.
#ifdef __MINGW32__

#include <cstdint>
#include <new>

template <class T>
class CRkHostAllocator {
 public:
  using value_type = T;

  CRkHostAllocator() = default;
  template <class Other>
  CRkHostAllocator(const CRkHostAllocator<Other>&) {}

  T* allocate(size_t count) {
    if (count > SIZE_MAX / 2 / sizeof(T)) throw std::bad_array_new_length();
    const size_t bytes = count * sizeof(T);
    if (bytes < kLargeBytes) return static_cast<T*>(_Take(bytes));
    void* const block = _Take(bytes + kLargeExtra);
    const auto aligned = (reinterpret_cast<uintptr_t>(block) + kLargeExtra) & ~(kLargeAlignment - 1);
    reinterpret_cast<void**>(aligned)[-1] = block;
    return reinterpret_cast<T*>(aligned);
  }

  void deallocate(T* data, size_t count) {
    void* const block = count * sizeof(T) < kLargeBytes ? data : reinterpret_cast<void**>(data)[-1];
    HeapFree(GetProcessHeap(), 0, block);
  }

  bool operator==(const CRkHostAllocator&) const = default;

 private:
  static constexpr size_t kLargeBytes = 4096;
  static constexpr uintptr_t kLargeAlignment = 32;
  static constexpr size_t kLargeExtra = sizeof(void*) + kLargeAlignment - 1;

  static void* _Take(size_t bytes) {
    void* const block = HeapAlloc(GetProcessHeap(), 0, bytes);
    if (block == nullptr) throw std::bad_alloc();
    return block;
  }
};

template <class T>
using RkHostVector = std::vector<T, CRkHostAllocator<T>>;

#else

template <class T>
using RkHostVector = std::vector<T>;

#endif

static_assert(sizeof(RkHostVector<int>) == 3 * sizeof(void*), "this library's arrays have another layout");
