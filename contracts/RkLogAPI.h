#pragma once

#include "contracts/RkTypes.h"

#if defined(RkLogAPI_EXPORTS)
#define RK_LOG_API RK_EXPORT
#else
#define RK_LOG_API RK_IMPORT
#endif

// The logging library. Lines are dropped until a host sets a sink or a file, and then go to each that is set.
// Any thread may call every function; no failure to log is reported.

enum ERkLogMsgLevel : int {
  RkLogLevel_Error = 1,
  RkLogLevel_Warning = 2,
  RkLogLevel_Info = 3,
  RkLogLevel_Debug = 4,
};

// One line, formatted as by wprintf; the text ends in its own line feed.
RK_LOG_API void RkLog_Trace(ERkLogMsgLevel level, const wchar_t* format, ...);
// The banner of a function that is entered (entering 1) or left (0).
RK_LOG_API void RkLog_Fun(ERkLogMsgLevel level, const wchar_t* banner, int entering);

// Receives every line on the thread that logs, one line at a time, with the log's lock held. `line` is
// borrowed. Must not log, set a sink or a file, nor wait for a thread that logs.
typedef void (*RkLogSink)(void* context, ERkLogMsgLevel level, const wchar_t* line);

// Null removes the sink. Waits for a call in progress; afterwards the previous sink is never called again.
RK_LOG_API void RkLog_SetSink(RkLogSink sink, void* context);
// Appends every line to the file, in UTF-8, and closes the previous file. 0, and no change, when the file
// cannot be opened. Null only closes.
RK_LOG_API int RkLog_SetFile(const char* path);
