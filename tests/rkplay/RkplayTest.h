#pragma once

#include <algorithm>
#include <cstring>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/rkplay/Process.h"
#include "tests/support/RkFfmpeg.h"

// A folder of its own for each test, rkplay to run in it, and what came out.
class RkplayTest : public testing::Test {
 protected:
  using Words = std::vector<std::string>;

  struct Result {
    int status;
    std::string output;
    std::string errors;
  };

  std::string Path(const std::string& name) const { return m_folder.Path(name); }

  void WriteFile(const std::string& name, const std::string& text) const { m_folder.Write(name, text); }
  std::string ReadFile(const std::string& name) const { return RkReadFile(Path(name)); }

  // In the folder, so that clips and files are named without it.
  Words Command(const Words& arguments) const {
    Words command = {"env", "-C", Path(""), RKPLAY_PROGRAM};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
  }
  Result Rkplay(const Words& arguments) const {
    Process process(Command(arguments));
    process.EndInput();
    const int status = process.Wait();
    return {status, process.Output(), process.Errors()};
  }
  // One line that names the culprit, status 2, and nothing begun.
  void ExpectRefused(const Words& arguments, const std::string& complaint) const {
    SCOPED_TRACE(testing::PrintToString(arguments));
    const Result result = Rkplay(arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_TRUE(result.errors.starts_with("rkplay: ")) << result.errors;
    EXPECT_NE(result.errors.find(complaint), std::string::npos) << result.errors;
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
  }

  // Runs to its end, but with status 1 and an error that names the culprit.
  void ExpectFails(const Words& arguments, const std::string& complaint) const {
    const Result result = Rkplay(arguments);
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find(complaint), std::string::npos) << result.errors;
  }
  // What is heard equals what goes out, wherever nothing is late: on a busy machine it may be, and the run
  // says nothing.
  void ExpectHeard(const Words& clips, Words command,
                   const std::function<bool(const Result&)>& isLate) const {
    Words reference = clips;
    reference.insert(reference.end(), {"--audio", "reference.wav"});
    ASSERT_EQ(Rkplay(reference).status, 0);
    command.insert(command.end(), {"--sound", "heard.wav"});
    for (int attempt = 0; attempt < 10; ++attempt) {
      const Result result = Rkplay(command);
      ASSERT_EQ(result.status, 0) << result.errors;
      if (isLate(result)) continue;
      EXPECT_TRUE(ReadFile("heard.wav") == ReadFile("reference.wav")) << clips.front();
      return;
    }
    ADD_FAILURE() << clips.front() << " was late in every run";
  }

  // What rkplay wrote to stats.json, and how its lists ended.
  nlohmann::json Stats() const { return nlohmann::json::parse(ReadFile("stats.json")); }
  Words Outcomes() const {
    Words outcomes;
    const nlohmann::json stats = Stats();
    for (const auto& list : stats["lists"]) outcomes.push_back(list["outcome"]);
    return outcomes;
  }

  // Runs ffmpeg, which writes the file, and gives the file's contents.
  std::string Ffmpeg(const std::string& arguments, const std::string& name) const {
    RkRun("cd '" + Path("") + "' && ffmpeg -nostdin -v error -y " + arguments + " '" + name + "'");
    return ReadFile(name);
  }
  // Pictures and sound, `seconds` long, coded as the arguments say.
  void MakeClip(const std::string& name, const std::string& rate, const std::string& seconds,
                const std::string& coding) const {
    Ffmpeg("-f lavfi -i testsrc2=size=100x62:rate=" + rate +
               " -f lavfi -i sine=frequency=700:sample_rate=48000 -t " + seconds + " " + coding,
           name);
  }

  // The pictures of a .y4m file without its header and frame marks; each of `bytes`.
  std::string Pictures(const std::string& name, size_t bytes) const {
    constexpr std::string_view kMark = "FRAME\n";
    const std::string file = ReadFile(name);
    EXPECT_TRUE(file.starts_with("YUV4MPEG2 ")) << name;
    std::string pictures;
    size_t at = file.find('\n') + 1;
    for (; at < file.size(); at += kMark.size() + bytes) {
      EXPECT_EQ(file.compare(at, kMark.size(), kMark), 0) << "frame mark missing at " << at;
      pictures += file.substr(at + kMark.size(), bytes);
    }
    EXPECT_EQ(at, file.size()) << "the last frame is cut off";
    return pictures;
  }
  // The samples of a .wav file whose header must fit its length.
  std::string Sound(const std::string& name) const {
    constexpr size_t kHeader = 44;
    const std::string file = ReadFile(name);
    if (file.size() < kHeader) return {};
    for (const size_t offset : {size_t{4}, size_t{40}}) {
      std::uint32_t length = 0;
      std::memcpy(&length, file.data() + offset, sizeof(length));
      EXPECT_EQ(length, file.size() - offset - sizeof(length));
    }
    return file.substr(kHeader);
  }

 private:
  CTempFolder m_folder;
};
