#pragma once

#include <new>
#include <stdexcept>
#include <utility>

// Runs work that allocates, inside an operation of an interface, which no exception may cross. False without
// enough memory; the work itself undoes what it had begun.
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

// Null without memory for the object or for what its constructor allocates.
template <class Object, class... Arguments>
Object* RkTryNew(Arguments&&... arguments) {
  Object* made = nullptr;
  RkWithinMemory([&] { made = new Object(std::forward<Arguments>(arguments)...); });
  return made;
}
