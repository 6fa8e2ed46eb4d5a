#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

// A temporary folder for the files of a test; the destructor removes it.
class CTempFolder {
 public:
  CTempFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "rk_test_XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "cannot make " << pattern;
    m_path = pattern;
  }
  ~CTempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  CTempFolder(const CTempFolder&) = delete;
  CTempFolder& operator=(const CTempFolder&) = delete;

  std::string Path(const std::string& name) const { return m_path + "/" + name; }
  // Gives the file's path. Makes the folders that the name has.
  std::string Write(const std::string& name, const std::string& bytes) const {
    std::filesystem::create_directories(std::filesystem::path(Path(name)).parent_path());
    std::ofstream(Path(name), std::ios::binary) << bytes;
    return Path(name);
  }

 private:
  std::string m_path;
};

inline std::string RkReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.is_open()) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

// The standard output of a shell command. A command that fails fails the test.
inline std::string RkRun(const std::string& command) {
  std::string output;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) {
    ADD_FAILURE() << "cannot run " << command;
    return output;
  }
  char block[65536];
  while (const size_t got = std::fread(block, 1, sizeof(block), pipe)) output.append(block, got);
  const int status = pclose(pipe);
  EXPECT_EQ(status, 0) << command;
  return output;
}

// Runs the ffmpeg program, which overwrites existing files, and returns what it writes to `-`.
inline std::string RkRunFfmpeg(const std::string& arguments) {
  return RkRun("ffmpeg -nostdin -v error -y " + arguments);
}

// Every picture of a file once, as raw planes, and its first sound as raw samples, both decoded by ffmpeg.
inline std::string RkReferencePictures(const std::string& path, const std::string& options = {}) {
  return RkRunFfmpeg("-i '" + path + "' -map 0:v:0 -fps_mode passthrough " + options + " -f rawvideo -");
}
inline std::string RkReferenceSound(const std::string& path, const std::string& options = "-f s16le") {
  return RkRunFfmpeg("-i '" + path + "' -map 0:a:0 " + options + " -");
}
