#pragma once

#include "contracts/RkTypes.h"

// The root of every interface. An object lives as long as there is a reference to it.
//
// A new object has one reference, which belongs to its creator. An out-parameter of type T** receives one
// reference for the caller, who sets the variable to null first. A pointer argument is
// borrowed for the call; a callee that keeps it takes a reference of its own.
//
// AddRef and Release may be called from any thread. Their results are informative only: at least 1
// while the object lives, 0 from the Release that destroyed it (synchronously, on the calling thread).
class IRkUnknown {
 public:
#ifdef __MINGW32__
  // Hosts' tables have one slot for the destructor; this compiler would take two. Destroys the object, frees
  // its memory when bit 0 of `flags` is set, and returns the pointer. Implementations derive from CRkObject.
  virtual void* DeletingDestructor(UINT flags) = 0;
#else
  virtual ~IRkUnknown() {}
#endif
  virtual UINT AddRef() = 0;
  virtual UINT Release() = 0;
};
