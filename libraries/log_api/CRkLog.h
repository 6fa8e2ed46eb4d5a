#pragma once

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <memory>

#include "base/CRkCriticalSection.h"
#include "contracts/RkLogAPI.h"

// The log of the process: passes lines to a sink, a file, or both. Any thread may enter.
//
// Lines are formatted without the lock. m_lock guards the sink and the file, and is held while a line is
// delivered: lines arrive one at a time, and a sink is never called after it has been replaced. Owns the
// file; borrows the sink.
class CRkLog {
 public:
  // Never destroyed: threads may still log while the process ends.
  static CRkLog& Instance();

  // Fast path: nobody listens, and a line costs one load.
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
