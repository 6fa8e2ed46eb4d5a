#pragma once

#include <functional>

// Counts what the calling thread creates (events, semaphores, worker threads, element lists) and the memory
// that it takes, and lets one creation fail.

// From now on the n-th creation (0: the next) fails.
void FailCreation(int n);
// Ends that; how many creations there were.
int EndFailing();

// Runs the work with its first, second, ... creation failing until none is left to fail; how many there
// were. It says whether it succeeded; nothing may escape from it, and nothing may stay alive.
int FailEach(const char* what, const std::function<bool()>& work);
