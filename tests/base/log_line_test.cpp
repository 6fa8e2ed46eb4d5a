#include "base/RkLogLine.h"

#include <gtest/gtest.h>

#include "tests/support/RkLogRecorder.h"

namespace {

TEST(log_line, what_is_too_long_for_a_line_is_cut_off) {
  CLogRecorder log;
  for (const size_t length : {2000u, 5000u})
    RkLogTraceLine(RkLogLevel_Debug, "F", 1, std::wstring(length, L'x').c_str());
  const std::wstring whole =
      L"[F,1][TID: " + std::to_wstring(GetCurrentThreadId()) + L"]" + std::wstring(5000, L'x');
  const auto lines = log.Lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].text.size(), whole.size() - 3000);
  EXPECT_EQ(lines[1].text, whole.substr(0, 2047));
}

}  // namespace
