#include "libraries/log_api/CRkLog.h"

#include <cerrno>
#include <cwchar>
#include <new>
#include <string>
#include <utility>

#include "base/RkUtf8.h"

namespace {

constexpr std::size_t kFirstLineLength = 512;
constexpr std::size_t kLongestLine = std::size_t{1} << 20;

// Fails for a line that does not fit, which some C libraries report by its full length.
bool FormatInto(wchar_t* buffer, std::size_t length, const wchar_t* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  // The analyzer does not follow a va_list through a parameter.
  const int written =
      std::vswprintf(buffer, length, format, again);  // NOLINT(clang-analyzer-valist.Uninitialized)
  va_end(again);
  return written >= 0 && static_cast<std::size_t>(written) < length;
}

// Formats a long line into `grown`. Null when it cannot be formatted at all.
const wchar_t* FormatLong(std::wstring& grown, const wchar_t* format, va_list arguments) {
  try {
    for (std::size_t length = kFirstLineLength * 4; length <= kLongestLine; length *= 4) {
      if (errno == EILSEQ) return nullptr;  // the text cannot be converted into any buffer
      grown.resize(length);
      if (FormatInto(grown.data(), length, format, arguments)) return grown.c_str();
    }
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
  return nullptr;
}

void PutUtf8(const wchar_t* text, std::FILE* file) {
  while (*text != 0) {
    const SRkUtf8Character character = RkUtf8(RkNextCharacter(text));
    std::fwrite(character.bytes, 1, static_cast<std::size_t>(character.count), file);
  }
}

}  // namespace

std::atomic<bool> CRkLog::s_heard{false};

CRkLog& CRkLog::Instance() {
  static CRkLog* const log = new CRkLog;
  return *log;
}

void CRkLog::Write(ERkLogMsgLevel level, const wchar_t* format, va_list arguments) {
  wchar_t buffer[kFirstLineLength];
  std::wstring grown;
  errno = 0;
  const wchar_t* line =
      FormatInto(buffer, kFirstLineLength, format, arguments) ? buffer : FormatLong(grown, format, arguments);
  // The bare format still shows where an unformattable line comes from.
  _Deliver(level, line != nullptr ? line : format);
}

void CRkLog::_Deliver(ERkLogMsgLevel level, const wchar_t* line) {
  CRkScopedLock lock(m_lock);
  if (m_sink != nullptr) m_sink(m_sinkContext, level, line);
  if (m_file) {
    PutUtf8(line, m_file.get());
    std::fflush(m_file.get());
  }
}

void CRkLog::SetSink(RkLogSink sink, void* context) {
  CRkScopedLock lock(m_lock);
  m_sink = sink;
  m_sinkContext = context;
  _UpdateHeard();
}

bool CRkLog::SetFile(const char* path) {
  CFile file(path != nullptr ? std::fopen(path, "ab") : nullptr);
  if (path != nullptr && !file) return false;
  CRkScopedLock lock(m_lock);
  m_file.swap(file);
  _UpdateHeard();
  return true;
}

void CRkLog::_UpdateHeard() {
  s_heard.store(m_sink != nullptr || m_file, std::memory_order_relaxed);
}

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
