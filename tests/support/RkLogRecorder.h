#pragma once

#include "contracts/RkLogAPI.h"
#include "tests/support/RkFakes.h"

// Records the log for its scope. Any thread may log meanwhile.
class CLogRecorder {
 public:
  struct SLine {
    ERkLogMsgLevel level;
    DWORD thread;
    std::wstring text;
  };

  CLogRecorder() { RkLog_SetSink(&Hear, this); }
  ~CLogRecorder() { RkLog_SetSink(nullptr, nullptr); }
  CLogRecorder(const CLogRecorder&) = delete;
  CLogRecorder& operator=(const CLogRecorder&) = delete;

  std::vector<SLine> Lines() { return m_lines.All(); }

  // The messages that this thread traced under a function's name. Skips lines without exactly the trace
  // prefix (banners).
  std::vector<std::wstring> Messages(const std::wstring& function) {
    const std::wstring begin = L"[" + function + L",";
    const std::wstring thread = L"][TID: " + std::to_wstring(GetCurrentThreadId()) + L"]";
    std::vector<std::wstring> messages;
    for (const SLine& line : Lines()) {
      if (line.text.rfind(begin, 0) != 0) continue;
      const size_t number = line.text.find_first_not_of(L"0123456789", begin.size());
      if (number == begin.size() || line.text.compare(number, thread.size(), thread) != 0) continue;
      messages.push_back(line.text.substr(number + thread.size()));
    }
    return messages;
  }

  bool Heard(const std::wstring& text) {
    const auto lines = Lines();
    return std::any_of(lines.begin(), lines.end(),
                       [&](const SLine& line) { return line.text.ends_with(text); });
  }

 private:
  static void Hear(void* context, ERkLogMsgLevel level, const wchar_t* line) {
    static_cast<CLogRecorder*>(context)->m_lines.Add({level, GetCurrentThreadId(), line});
  }

  CRecord<SLine> m_lines;
};
