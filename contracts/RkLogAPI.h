#pragma once

#include "contracts/RkTypes.h"

#if defined(RkLogAPI_EXPORTS)
#define RK_LOG_API RK_EXPORT
#else
#define RK_LOG_API RK_IMPORT
#endif

// The logging library. Lines go nowhere until a host gives a sink or a file; then to both. Every
// function may be called from any thread at once; none reports a failure to the one who logs.

enum ERkLogMsgLevel : int {
  RkLogLevel_Error = 1,
  RkLogLevel_Warning = 2,
  RkLogLevel_Info = 3,
  RkLogLevel_Debug = 4,
};

// One line, formatted as by wprintf; the text brings its own line feed.
RK_LOG_API void RkLog_Trace(ERkLogMsgLevel level, const wchar_t* format, ...);
// The banner of a function that is entered (entering 1) or left (0).
RK_LOG_API void RkLog_Fun(ERkLogMsgLevel level, const wchar_t* banner, int entering);

// Hears every line, on the thread that logs, one at a time. Must not log and must not set a sink.
typedef void (*RkLogSink)(void* context, ERkLogMsgLevel level, const wchar_t* line);

// Null takes the sink away. After the call the previous sink is never called again.
RK_LOG_API void RkLog_SetSink(RkLogSink sink, void* context);
// Appends every line to a file (UTF-8), in place of an earlier one; 0 when it cannot be opened, and
// then nothing changes. Null closes the file.
RK_LOG_API int RkLog_SetFile(const char* path);
