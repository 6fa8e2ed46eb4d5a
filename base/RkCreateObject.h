#pragma once

#include <utility>

#include "base/CRkRef.h"

// The common end of every factory: runs the initialiser of a new object (null when there was no memory)
// and hands it out with its first reference. 0 when that failed: the object is gone and `out` untouched.
template <class Object, class Interface, class... Arguments>
int RkInitializeAndHandOut(Object* object, Interface** out, Arguments&&... arguments) {
  auto made = CRkRef<Object>::Adopt(object);
  if (!made || !made->_Initialize(std::forward<Arguments>(arguments)...)) return 0;
  *out = made.Detach();
  return 1;
}
