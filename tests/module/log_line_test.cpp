#include "contracts/RkLogLine.h"

#include <gtest/gtest.h>

#include "tests/support/RkLogRecorder.h"

namespace {

TEST(LogLine, a_line_is_its_prefix_and_its_message_or_number_with_nothing_between) {
  CLogRecorder log;
  RkLogTraceLine(RkLogLevel_Debug, "CRkSome::Operation", 12, L"failed now!\n");
  RkLogTraceLine(RkLogLevel_Debug, "CRkSome::Get", 4711, 0xFFFFFFFFu);
  const std::wstring tid = std::to_wstring(GetCurrentThreadId());
  const auto lines = log.Lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].text, L"[CRkSome::Operation,12][TID: " + tid + L"]failed now!\n");
  EXPECT_EQ(lines[0].level, RkLogLevel_Debug);
  EXPECT_EQ(lines[1].text, L"[CRkSome::Get,4711][TID: " + tid + L"]4294967295");
}

TEST(LogLine, what_is_too_long_for_a_line_is_cut_off) {
  CLogRecorder log;
  for (const size_t length : {2000u, 2047u, 5000u}) {
    RkLogTraceLine(RkLogLevel_Debug, "F", 1, std::wstring(length, L'x').c_str());
  }
  const std::wstring whole =
      L"[F,1][TID: " + std::to_wstring(GetCurrentThreadId()) + L"]" + std::wstring(5000, L'x');
  const auto lines = log.Lines();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[0].text.size(), whole.size() - 3000);
  EXPECT_EQ(lines[1].text, whole.substr(0, 2047));
  EXPECT_EQ(lines[2].text, whole.substr(0, 2047));
}

}  // namespace
