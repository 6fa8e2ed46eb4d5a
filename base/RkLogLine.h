#pragma once

#include "contracts/RkLogAPI.h"

// How the module writes to the log. Any thread may log at any time.

// One line: "[function,line][TID: thread]" directly followed by the message, which brings its own line
// feed. `message` may also be a number, written in decimal. A line is cut to 2047 characters and must
// hold no per-cent sign.
void RkLogTraceLine(ERkLogMsgLevel level, const char* function, int line, const wchar_t* message);
void RkLogTraceLine(ERkLogMsgLevel level, const char* function, int line, UINT message);

// Writes the banner of an operation when it is entered and again when its scope is left.
class CRkFunctionLog {
 public:
  explicit CRkFunctionLog(const wchar_t* banner) : m_banner(banner) { RkLog_Fun(m_level, m_banner, 1); }
  ~CRkFunctionLog() { RkLog_Fun(m_level, m_banner, 0); }
  CRkFunctionLog(const CRkFunctionLog&) = delete;
  CRkFunctionLog& operator=(const CRkFunctionLog&) = delete;

 private:
  const wchar_t* const m_banner;  // a literal
  const ERkLogMsgLevel m_level = RkLogLevel_Debug;
};
