#pragma once

#include "contracts/IRkUnknown.h"

// The base of every class that implements an interface: it carries the virtual destructor. Under mingw the
// interfaces have none, so it comes after their slots here, and the interface's first slot calls it.
#ifdef __MINGW32__
template <class Interface>
class CRkObject : public Interface {
 public:
  void* DeletingDestructor(UINT flags) override {
    if ((flags & 1) != 0) {
      delete this;
    } else {
      this->~CRkObject();
    }
    return this;
  }
  virtual ~CRkObject() = default;
};
#else
template <class Interface>
using CRkObject = Interface;
#endif
