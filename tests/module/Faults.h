#pragma once

#include <functional>

// Counts the memory that the process holds and lets one allocation of the calling thread fail.

// From now on the n-th allocation (0: the next) fails.
void FailAllocation(int n);
// Ends that; returns how many allocations there were.
int EndFailing();

// Runs the work with its first, second, ... allocation failing until none is left to fail; returns how many
// there were. The work returns whether it succeeded; it must let no exception out and leave nothing alive.
int FailEach(const char* what, const std::function<bool()>& work);
