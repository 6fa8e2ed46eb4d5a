#pragma once

#include <new>
#include <stdexcept>
#include <utility>

// Runs work that allocates, inside an operation of an interface, which no exception may cross. False when
// there was not enough memory; what the work leaves behind then is its own affair.
template <class Work>
bool RkWithinMemory(Work work) {
  try {
    work();
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  } catch (const std::length_error&) {
    return false;
  }
}

// Null without memory, also where the constructor needs some.
template <class Object, class... Arguments>
Object* RkTryNew(Arguments&&... arguments) {
  Object* made = nullptr;
  RkWithinMemory([&] { made = new Object(std::forward<Arguments>(arguments)...); });
  return made;
}
