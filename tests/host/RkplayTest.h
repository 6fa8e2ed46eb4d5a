#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/host/Process.h"

// A folder of its own for each test, rkplay to run in it, and what came out.
class RkplayTest : public testing::Test {
 protected:
  RkplayTest();
  ~RkplayTest() override;

  struct Result {
    int status;
    std::string output;
    std::string errors;
  };

  std::string Path(const std::string& name) const { return m_folder / name; }
  void WriteFile(const std::string& name, const std::string& text) const;
  std::string ReadFile(const std::string& name) const;

  std::vector<std::string> Command(std::vector<std::string> arguments) const;
  Result Rkplay(const std::vector<std::string>& arguments) const;

  // Runs ffmpeg, which writes the file, and gives the file's contents.
  std::string Ffmpeg(const std::vector<std::string>& arguments, const std::string& name) const;
  // Pictures and sound, `seconds` long, coded as the arguments say.
  void MakeClip(const std::string& name, const std::string& rate, const std::string& seconds,
                const std::vector<std::string>& coding) const;

  // The pictures of a .y4m file without its header and frame marks; each of `bytes`.
  std::string Pictures(const std::string& name, size_t bytes) const;
  // The samples of a .wav file whose header must fit its length.
  std::string Sound(const std::string& name) const;

 private:
  std::filesystem::path m_folder;
};
