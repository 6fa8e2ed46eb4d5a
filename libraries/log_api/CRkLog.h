#pragma once

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <memory>

#include "base/CRkCriticalSection.h"
#include "contracts/RkLogAPI.h"

// The one log of the process: passes lines to a sink, a file, or both. Any thread may enter.
//
// m_lock guards where lines go and is held while they are handed over: lines come one at a time, and a
// sink that has been replaced is not called again. A line is formatted before the lock is taken.
class CRkLog {
 public:
  // Never destroyed: threads may still log while the process ends.
  static CRkLog& Instance();

  // All that a line costs while nobody listens.
  static bool IsHeard() { return s_heard.load(std::memory_order_relaxed); }

  void Write(ERkLogMsgLevel level, const wchar_t* format, va_list arguments);
  void SetSink(RkLogSink sink, void* context);
  bool SetFile(const char* path);

 private:
  struct SCloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  using CFile = std::unique_ptr<std::FILE, SCloseFile>;

  CRkLog() = default;
  void _Deliver(ERkLogMsgLevel level, const wchar_t* line);
  void _UpdateHeard() RK_REQUIRES(m_lock);

  static std::atomic<bool> s_heard;

  CRkCriticalSection m_lock;
  RkLogSink m_sink RK_GUARDED_BY(m_lock) = nullptr;
  void* m_sinkContext RK_GUARDED_BY(m_lock) = nullptr;
  CFile m_file RK_GUARDED_BY(m_lock);
};
