#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "contracts/RkLogAPI.h"

namespace {

// A sink. The log delivers one line at a time.
struct SLines {
  std::vector<std::wstring> lines;
  ERkLogMsgLevel level{};  // of the last line

  static void Receive(void* context, ERkLogMsgLevel level, const wchar_t* line) {
    static_cast<SLines*>(context)->lines.emplace_back(line);
    static_cast<SLines*>(context)->level = level;
  }
};

std::string ContentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(log_api, delivers_whole_lines_with_their_level_until_the_sink_is_removed) {
  SLines sink;
  RkLog_SetSink(&SLines::Receive, &sink);
  const std::wstring longText(5000, L'x');
  RkLog_Trace(RkLogLevel_Warning, L"%d %s %ls\n", 42, "narrow", L"w\u00EFde \u20AC");
  RkLog_Trace(RkLogLevel_Debug, L"%ls|\n", longText.c_str());
  RkLog_Trace(RkLogLevel_Error, L"not to be widened: %s\n", "\xFF\xFE");
  RkLog_Fun(RkLogLevel_Info, L"------>A<------\n", 1);
  RkLog_Fun(RkLogLevel_Info, L"------>A<------\n", 0);
  RkLog_SetSink(nullptr, nullptr);
  RkLog_Trace(RkLogLevel_Error, L"nobody listens\n");
#ifdef _WIN32  // every byte can be widened
  ASSERT_EQ(sink.lines.size(), 5u);
  sink.lines[2] = L"not to be widened: %s\n";
#endif
  EXPECT_EQ(sink.lines, (std::vector<std::wstring>{L"42 narrow w\u00EFde \u20AC\n", longText + L"|\n",
                                                   L"not to be widened: %s\n", L"enter ------>A<------\n",
                                                   L"leave ------>A<------\n"}));
  EXPECT_EQ(sink.level, RkLogLevel_Info);
}

TEST(log_api, appends_to_files_in_utf8_and_flushes_every_line) {
  const std::string path = testing::TempDir() + "rk_log_api_test." + std::to_string(GetCurrentThreadId());
  std::ofstream(path, std::ios::binary) << "before\n";
  ASSERT_EQ(RkLog_SetFile(path.c_str()), 1);
  RkLog_Trace(RkLogLevel_Debug, L"%ls\n", L"\u00E9\u20AC\U0001F600");
  EXPECT_EQ(ContentsOf(path), "before\n\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\n");

  EXPECT_EQ(RkLog_SetFile((path + "/missing").c_str()), 0);
  constexpr int kNoCharacter = sizeof(wchar_t) == 2 ? 0xDC00 : 0x110000;
  const wchar_t noCharacters[] = {static_cast<wchar_t>(kNoCharacter), static_cast<wchar_t>(0xD800), 0};
  RkLog_Trace(RkLogLevel_Debug, noCharacters);
  const std::string contents = ContentsOf(path);
  EXPECT_TRUE(contents.ends_with("\n\xEF\xBF\xBD\xEF\xBF\xBD"));

  ASSERT_EQ(RkLog_SetFile(nullptr), 1);
  RkLog_Trace(RkLogLevel_Debug, L"nowhere\n");
  EXPECT_EQ(ContentsOf(path), contents);
  std::remove(path.c_str());
}

TEST(log_api, never_calls_a_replaced_sink_while_many_threads_log) {
  std::atomic<bool> ended{false};
  std::vector<std::thread> writers(3);
  for (auto& writer : writers)
    writer = std::thread([&ended] {
      while (!ended) RkLog_Trace(RkLogLevel_Debug, L"from %d to the end\n", 1);
    });
  std::vector<SLines> sinks(100);
  std::vector<size_t> counts;
  for (auto& sink : sinks) {
    RkLog_SetSink(&SLines::Receive, &sink);
    RkLog_Trace(RkLogLevel_Debug, L"from 0 to the end\n");
    RkLog_SetSink(nullptr, nullptr);
    counts.push_back(sink.lines.size());
  }
  ended = true;
  for (auto& writer : writers) writer.join();
  for (size_t i = 0; i < sinks.size(); ++i) {
    EXPECT_GT(counts[i], 0u);
    EXPECT_EQ(sinks[i].lines.size(), counts[i]) << "called late";
    for (const auto& line : sinks[i].lines) EXPECT_EQ(line.size(), 18u);
  }
}

}  // namespace
