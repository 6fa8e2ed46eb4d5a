#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

#include "contracts/RkLogAPI.h"

namespace {

struct SLines {
  std::vector<std::wstring> lines;  // the log calls one at a time
  ERkLogMsgLevel level{};           // of the last line
  std::atomic<bool> late{false};
  bool calledLate = false;

  static void Hear(void* context, ERkLogMsgLevel level, const wchar_t* line) {
    auto& self = *static_cast<SLines*>(context);
    self.lines.emplace_back(line);
    self.level = level;
    if (self.late) self.calledLate = true;
  }
};

class LogAPI : public ::testing::Test {
 protected:
  void SetUp() override { std::filesystem::create_directory(m_folder); }
  void TearDown() override {
    RkLog_SetSink(nullptr, nullptr);
    RkLog_SetFile(nullptr);
    std::filesystem::remove_all(m_folder);
  }

  std::string PathOf(const char* name) const { return (m_folder / name).string(); }
  std::string ContentsOf(const char* name) const {
    std::ifstream file(m_folder / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  const std::filesystem::path m_folder =
      std::filesystem::temp_directory_path() / ("rk_log_api_test." + std::to_string(getpid()));
};

TEST_F(LogAPI, the_sink_hears_lines_whole_with_their_level_until_it_is_taken_away) {
  SLines heard;
  RkLog_SetSink(&SLines::Hear, &heard);
  const std::wstring longText(5000, L'x');
  RkLog_Trace(RkLogLevel_Warning, L"%d %s %ls\n", 42, "narrow", L"w\u00EFde \u20AC");
  RkLog_Trace(RkLogLevel_Debug, L"%ls|\n", longText.c_str());
  RkLog_Trace(RkLogLevel_Error, L"not to be widened: %s\n", "\xFF\xFE");
  RkLog_Fun(RkLogLevel_Info, L"------>A<------\n", 1);
  RkLog_Fun(RkLogLevel_Info, L"------>A<------\n", 0);
  RkLog_SetSink(nullptr, nullptr);
  RkLog_Trace(RkLogLevel_Error, L"unheard\n");

  ASSERT_EQ(heard.lines.size(), 5u);
  EXPECT_EQ(heard.lines[0], L"42 narrow w\u00EFde \u20AC\n");
  EXPECT_EQ(heard.lines[1], longText + L"|\n");
  EXPECT_EQ(heard.lines[2], L"not to be widened: %s\n");
  EXPECT_TRUE(heard.lines[3].ends_with(L"------>A<------\n"));
  EXPECT_TRUE(heard.lines[4].ends_with(L"------>A<------\n"));
  EXPECT_NE(heard.lines[3], heard.lines[4]);
  EXPECT_EQ(heard.level, RkLogLevel_Info);
}

TEST_F(LogAPI, files_are_appended_in_utf8_and_flushed_with_every_line) {
  std::ofstream(PathOf("a"), std::ios::binary) << "before\n";
  ASSERT_EQ(RkLog_SetFile(PathOf("a").c_str()), 1);
  RkLog_Trace(RkLogLevel_Debug, L"%ls\n", L"\u00E9\u20AC\U0001F600");
  EXPECT_EQ(ContentsOf("a"), "before\n\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\n");

  EXPECT_EQ(RkLog_SetFile(PathOf("missing/b").c_str()), 0);
  const wchar_t noCharacters[] = {static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0x110000), 0};
  RkLog_Trace(RkLogLevel_Debug, noCharacters);
  EXPECT_TRUE(ContentsOf("a").ends_with("\n\xEF\xBF\xBD\xEF\xBF\xBD"));

  const std::string unchanged = ContentsOf("a");
  ASSERT_EQ(RkLog_SetFile(PathOf("c").c_str()), 1);
  RkLog_Trace(RkLogLevel_Debug, L"next\n");
  ASSERT_EQ(RkLog_SetFile(nullptr), 1);
  RkLog_Trace(RkLogLevel_Debug, L"nowhere\n");
  EXPECT_EQ(ContentsOf("a"), unchanged);
  EXPECT_EQ(ContentsOf("c"), "next\n");
}

TEST_F(LogAPI, many_threads_log_while_sinks_change_and_none_is_called_after_its_time) {
  std::atomic<bool> ended{false};
  std::thread writers[3];
  for (auto& writer : writers) {
    writer = std::thread([&ended] {
      while (!ended) RkLog_Trace(RkLogLevel_Debug, L"from %d to the end\n", 1);
    });
  }
  std::vector<SLines> sinks(100);
  for (auto& sink : sinks) {
    RkLog_SetSink(&SLines::Hear, &sink);
    RkLog_Trace(RkLogLevel_Debug, L"from 0 to the end\n");
    RkLog_SetSink(nullptr, nullptr);
    sink.late = true;
  }
  ended = true;
  for (auto& writer : writers) writer.join();
  for (const auto& sink : sinks) {
    EXPECT_FALSE(sink.calledLate);
    EXPECT_FALSE(sink.lines.empty());
    for (const auto& line : sink.lines) EXPECT_EQ(line.size(), 18u);
  }
}

}  // namespace
