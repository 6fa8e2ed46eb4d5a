#include "contracts/RkLogAPI.h"

#include "libraries/log_api/CRkLog.h"

void RkLog_Trace(ERkLogMsgLevel level, const wchar_t* format, ...) {
  if (!CRkLog::IsHeard()) return;
  va_list arguments;
  va_start(arguments, format);
  CRkLog::Instance().Write(level, format, arguments);
  va_end(arguments);
}

void RkLog_Fun(ERkLogMsgLevel level, const wchar_t* banner, int entering) {
  RkLog_Trace(level, entering != 0 ? L"enter %ls" : L"leave %ls", banner);
}

void RkLog_SetSink(RkLogSink sink, void* context) {
  CRkLog::Instance().SetSink(sink, context);
}

int RkLog_SetFile(const char* path) {
  return CRkLog::Instance().SetFile(path) ? 1 : 0;
}
