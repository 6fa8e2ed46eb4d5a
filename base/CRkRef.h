#pragma once

#include <type_traits>
#include <utility>

#include "contracts/IRkUnknown.h"

// Holds one reference to an object, or nothing. Not for sharing between threads without a lock.
//
//   Adopt(p)   takes over a reference that the caller owns (a factory's result);
//   Retain(p)  takes a reference of its own (a borrowed argument);
//   Out()      releases what is held and gives the address for an out-parameter, set to null.
template <class T>
class CRkRef {
 public:
  CRkRef() = default;
  CRkRef(const CRkRef& other) : CRkRef(Retain(other.m_object)) {}
  CRkRef(CRkRef&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
  template <class Derived>
  requires std::is_convertible_v<Derived*, T*> CRkRef(CRkRef<Derived> other)
  noexcept : m_object(other.Detach()) {}
  ~CRkRef() { Reset(); }

  // Takes the new reference before it releases the old one, so an object may be stored over itself.
  CRkRef& operator=(CRkRef other) noexcept {
    std::swap(m_object, other.m_object);
    return *this;
  }

  static CRkRef Adopt(T* object) {
    CRkRef ref;
    ref.m_object = object;
    return ref;
  }

  static CRkRef Retain(T* object) {
    if (object != nullptr) object->AddRef();
    return Adopt(object);
  }

  void Reset() {
    if (T* object = Detach()) object->Release();
  }

  // The reference now belongs to the caller.
  [[nodiscard]] T* Detach() { return std::exchange(m_object, nullptr); }

  [[nodiscard]] T** Out() {
    Reset();
    return &m_object;
  }

  // Hands a new reference to the caller of an operation with an out-parameter.
  void CopyTo(T** out) const { *out = CRkRef(*this).Detach(); }

  T* Get() const { return m_object; }
  T* operator->() const { return m_object; }
  T& operator*() const { return *m_object; }
  explicit operator bool() const { return m_object != nullptr; }

 private:
  T* m_object = nullptr;
};
