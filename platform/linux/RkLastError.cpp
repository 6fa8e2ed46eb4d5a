#include "platform/RkPlatform.h"

namespace {

thread_local DWORD t_lastError = ERROR_SUCCESS;

}  // namespace

DWORD GetLastError() {
  return t_lastError;
}

void SetLastError(DWORD code) {
  t_lastError = code;
}
