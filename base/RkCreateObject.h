#pragma once

#include <utility>

#include "base/CRkRef.h"
#include "base/RkWithinMemory.h"

// The common endings of the factories: each returns 1 and hands out a new object with its first reference,
// or returns 0, leaves `out` untouched and no object behind.

// 0 for a null object.
template <class Object, class Interface>
int RkHandOut(CRkRef<Object> object, Interface** out) {
  if (!object) return 0;
  *out = object.Detach();
  return 1;
}

// 0 without memory.
template <class Object, class Interface, class... Arguments>
int RkCreate(Interface** out, Arguments&&... arguments) {
  return RkHandOut(CRkRef<Object>::Adopt(RkTryNew<Object>(std::forward<Arguments>(arguments)...)), out);
}

// For a new object (null: there was no memory) whose initialiser may fail.
template <class Object, class Interface, class... Arguments>
int RkInitializeAndHandOut(Object* object, Interface** out, Arguments&&... arguments) {
  auto made = CRkRef<Object>::Adopt(object);
  if (!made || !made->_Initialize(std::forward<Arguments>(arguments)...)) return 0;
  return RkHandOut(std::move(made), out);
}
