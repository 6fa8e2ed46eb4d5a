#pragma once

#include <unistd.h>

#include <utility>

namespace rkplay {

// Owns a file descriptor; -1: none.
class Descriptor {
 public:
  explicit Descriptor(int descriptor = -1) : m_descriptor(descriptor) {}
  Descriptor(Descriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(m_descriptor, other.m_descriptor);
    return *this;
  }
  ~Descriptor() {
    if (m_descriptor >= 0) close(m_descriptor);
  }

  operator int() const { return m_descriptor; }

 private:
  int m_descriptor;
};

}  // namespace rkplay
