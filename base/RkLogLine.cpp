#include "base/RkLogLine.h"

#include <charconv>

namespace {

// Builds one line in place and cuts it to the capacity.
class CLine {
 public:
  template <class Character>
  CLine& Append(const Character* text) {
    while (*text != 0 && m_length < kCapacity) m_text[m_length++] = static_cast<wchar_t>(*text++);
    m_text[m_length] = 0;
    return *this;
  }

  CLine& Append(long long number) {
    char digits[24] = {};
    std::to_chars(digits, digits + sizeof(digits) - 1, number);
    return Append(digits);
  }

  const wchar_t* Text() const { return m_text; }

 private:
  static constexpr int kCapacity = 2047;
  int m_length = 0;
  wchar_t m_text[kCapacity + 1];
};

template <class Message>
void WriteLine(ERkLogMsgLevel level, const char* function, int line, Message message) {
  CLine text;
  text.Append("[").Append(function).Append(",").Append(line).Append("][TID: ");
  // Thread ids are signed in the log format.
  text.Append(static_cast<LONG>(GetCurrentThreadId())).Append("]").Append(message);
  RkLog_Trace(level, text.Text());
}

}  // namespace

void RkLogTraceLine(ERkLogMsgLevel level, const char* function, int line, const wchar_t* message) {
  WriteLine(level, function, line, message);
}

void RkLogTraceLine(ERkLogMsgLevel level, const char* function, int line, UINT message) {
  WriteLine(level, function, line, static_cast<long long>(message));
}
