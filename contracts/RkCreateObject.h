#pragma once

#include <utility>

// The common end of every factory: runs the initialiser of a new object (null when there was no memory)
// and hands it out with its first reference. 0 when that failed: the object is gone and `out` untouched.
template <class Object, class Interface, class... Arguments>
int RkInitializeAndHandOut(Object* object, Interface** out, Arguments&&... arguments) {
  if (object == nullptr) return 0;
  if (!object->_Initialize(std::forward<Arguments>(arguments)...)) {
    object->Release();
    return 0;
  }
  *out = object;
  return 1;
}
