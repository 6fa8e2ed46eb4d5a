#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

// A program that runs beside the test: its input and output are pipes, its error output is kept. All
// waits end with the program; what hangs is ended by the limit that every test runs under.
class Process {
 public:
  explicit Process(const std::vector<std::string>& command) {
    int input[2];
    int output[2];
    if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) abort();
    m_errorFile = memfd_create("errors", MFD_CLOEXEC);
    m_id = fork();
    if (m_id == 0) {
      dup2(input[0], STDIN_FILENO);
      dup2(output[1], STDOUT_FILENO);
      dup2(m_errorFile, STDERR_FILENO);
      std::vector<char*> arguments;
      for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
      arguments.push_back(nullptr);
      execvp(arguments[0], arguments.data());
      _exit(127);
    }
    close(input[0]);
    close(output[1]);
    m_input = input[1];
    m_outputPipe = output[0];
  }
  // Ends the program, should it still run.
  ~Process() {
    EndInput();
    if (m_id > 0) {
      kill(m_id, SIGKILL);
      waitpid(m_id, nullptr, 0);
    }
    close(m_outputPipe);
    close(m_errorFile);
  }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  void Type(const std::string& text) {
    EXPECT_EQ(write(m_input, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  void EndInput() {
    if (m_input >= 0) close(m_input);
    m_input = -1;
  }
  void Signal(int signal) { kill(m_id, signal); }
  // False when the program has none.
  bool KillChildren() {
    bool killed = false;
    for (const auto& task : std::filesystem::directory_iterator("/proc/" + std::to_string(m_id) + "/task")) {
      std::ifstream children(task.path() / "children");
      for (pid_t child = 0; children >> child; killed = true) kill(child, SIGKILL);
    }
    return killed;
  }

  // Until the output so far holds the text; false when the program ended without it.
  bool WaitForOutput(const std::string& text) {
    while (m_output.find(text) == std::string::npos) {
      if (!_ReadMore()) return false;
    }
    return true;
  }
  // Types again after every answer until one holds the text: the keys may come too early.
  bool TypeUntilOutput(const std::string& keys, const std::string& text) {
    do {
      Type(keys);
      if (!_ReadMore()) return false;
    } while (m_output.find(text) == std::string::npos);
    return true;
  }
  // Reads the rest and gives the exit status; 128 and the signal when one ended it.
  int Wait() {
    while (_ReadMore()) {
    }
    int status = 0;
    waitpid(m_id, &status, 0);
    m_id = -1;
    m_errors.resize(static_cast<size_t>(lseek(m_errorFile, 0, SEEK_END)));
    EXPECT_EQ(pread(m_errorFile, m_errors.data(), m_errors.size(), 0), static_cast<ssize_t>(m_errors.size()));
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

  const std::string& Output() const { return m_output; }
  const std::string& Errors() const { return m_errors; }  // after Wait

 private:
  bool _ReadMore() {
    char piece[4096];
    const ssize_t count = read(m_outputPipe, piece, sizeof(piece));
    if (count > 0) m_output.append(piece, static_cast<size_t>(count));
    return count > 0;
  }

  pid_t m_id = -1;
  int m_input = -1;
  int m_outputPipe = -1;
  int m_errorFile = -1;
  std::string m_output;
  std::string m_errors;
};
