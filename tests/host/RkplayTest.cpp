#include "tests/host/RkplayTest.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include "contracts/RkTypes.h"

namespace {

constexpr size_t kWavHeader = 44;

UINT NumberAt(const std::string& bytes, size_t offset) {
  UINT number = 0;
  std::memcpy(&number, bytes.data() + offset, sizeof(number));
  return number;
}

}  // namespace

RkplayTest::RkplayTest() {
  std::string name = std::filesystem::temp_directory_path() / "rkplay-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) abort();
  m_folder = name;
}

RkplayTest::~RkplayTest() {
  std::filesystem::remove_all(m_folder);
}

void RkplayTest::WriteFile(const std::string& name, const std::string& text) const {
  std::filesystem::create_directories(std::filesystem::path(Path(name)).parent_path());
  std::ofstream(Path(name), std::ios::binary) << text;
}

std::string RkplayTest::ReadFile(const std::string& name) const {
  std::ifstream file(Path(name), std::ios::binary);
  EXPECT_TRUE(file.is_open()) << name;
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::vector<std::string> RkplayTest::Command(std::vector<std::string> arguments) const {
  // In the folder, so that clips and files are named without it.
  std::vector<std::string> command = {"env", "-C", m_folder, RKPLAY_PROGRAM};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

RkplayTest::Result RkplayTest::Rkplay(const std::vector<std::string>& arguments) const {
  Process process(Command(arguments));
  process.EndInput();
  const int status = process.Wait();
  return {status, process.Output(), process.Errors()};
}

std::string RkplayTest::Ffmpeg(const std::vector<std::string>& arguments, const std::string& name) const {
  std::vector<std::string> command = {"env", "-C", m_folder, "ffmpeg", "-nostdin", "-v", "error", "-y"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  command.push_back(name);
  Process process(command);
  EXPECT_EQ(process.Wait(), 0) << process.Errors();
  return ReadFile(name);
}

void RkplayTest::MakeClip(const std::string& name, const std::string& rate, const std::string& seconds,
                          const std::vector<std::string>& coding) const {
  std::vector<std::string> arguments = {"-f", "lavfi", "-i", "testsrc2=size=100x62:rate=" + rate,
                                        "-f", "lavfi", "-i", "sine=frequency=700:sample_rate=48000",
                                        "-t", seconds};
  arguments.insert(arguments.end(), coding.begin(), coding.end());
  Ffmpeg(arguments, name);
}

std::string RkplayTest::Pictures(const std::string& name, size_t bytes) const {
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

std::string RkplayTest::Sound(const std::string& name) const {
  const std::string file = ReadFile(name);
  if (file.size() < kWavHeader) return {};
  EXPECT_EQ(NumberAt(file, 4), file.size() - 8);
  EXPECT_EQ(NumberAt(file, 40), file.size() - kWavHeader);
  return file.substr(kWavHeader);
}
