#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/RkPlatform.h"

namespace {

// These calls cannot report failure, and without the lock the data it guards would be corrupted.
void Require(int error, const char* call) {
  if (error == 0) return;
  std::fprintf(stderr, "%s: %s\n", call, std::strerror(error));
  std::abort();
}

}  // namespace

void InitializeCriticalSection(CRITICAL_SECTION* section) {
  pthread_mutexattr_t recursive;
  Require(pthread_mutexattr_init(&recursive), "InitializeCriticalSection");
  Require(pthread_mutexattr_settype(&recursive, PTHREAD_MUTEX_RECURSIVE), "InitializeCriticalSection");
  Require(pthread_mutex_init(&section->mutex, &recursive), "InitializeCriticalSection");
  pthread_mutexattr_destroy(&recursive);
}

void EnterCriticalSection(CRITICAL_SECTION* section) {
  Require(pthread_mutex_lock(&section->mutex), "EnterCriticalSection");
}

void LeaveCriticalSection(CRITICAL_SECTION* section) {
  Require(pthread_mutex_unlock(&section->mutex), "LeaveCriticalSection");
}

void DeleteCriticalSection(CRITICAL_SECTION* section) {
  Require(pthread_mutex_destroy(&section->mutex), "DeleteCriticalSection");
}
