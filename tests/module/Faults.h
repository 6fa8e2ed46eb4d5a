#pragma once

// Counts what the calling thread creates (events, semaphores, worker threads, element lists, memory), lets
// one creation fail, and tells what is alive in the program.

// From now on the n-th creation (0: the next) fails.
void FailCreation(int n);
// Ends that; how many creations there were.
int EndFailing();

int LiveHandles();
int LiveBlocks();  // of memory from operator new
