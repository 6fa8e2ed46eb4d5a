#pragma once

#include <chrono>
#include <thread>

namespace rkplay {

// The processor time that a running thread has used; 0 when the system does not say.
std::chrono::nanoseconds ProcessorTime(std::thread& thread);

}  // namespace rkplay
