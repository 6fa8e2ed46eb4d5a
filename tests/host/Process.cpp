#include "tests/host/Process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

void RunInChild(const std::vector<std::string>& command, int input, int output, int errors) {
  dup2(input, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(errors, STDERR_FILENO);
  std::vector<char*> arguments;
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  execvp(arguments[0], arguments.data());
  _exit(127);
}

}  // namespace

Process::Process(const std::vector<std::string>& command) {
  int input[2];
  int output[2];
  if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) abort();
  m_errorFile = memfd_create("errors", MFD_CLOEXEC);
  m_id = fork();
  if (m_id == 0) RunInChild(command, input[0], output[1], m_errorFile);
  close(input[0]);
  close(output[1]);
  m_input = input[1];
  m_outputPipe = output[0];
}

Process::~Process() {
  EndInput();
  if (m_id > 0) {
    kill(m_id, SIGKILL);
    waitpid(m_id, nullptr, 0);
  }
  close(m_outputPipe);
  close(m_errorFile);
}

void Process::Type(const std::string& text) {
  EXPECT_EQ(write(m_input, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

void Process::EndInput() {
  if (m_input >= 0) close(m_input);
  m_input = -1;
}

bool Process::WaitForOutput(const std::string& text) {
  while (m_output.find(text) == std::string::npos) {
    if (!_ReadMore()) return false;
  }
  return true;
}

int Process::Wait() {
  while (_ReadMore()) {
  }
  int status = 0;
  waitpid(m_id, &status, 0);
  m_id = -1;
  m_errors.resize(static_cast<size_t>(lseek(m_errorFile, 0, SEEK_END)));
  EXPECT_EQ(pread(m_errorFile, m_errors.data(), m_errors.size(), 0), static_cast<ssize_t>(m_errors.size()));
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool Process::_ReadMore() {
  char piece[4096];
  const ssize_t count = read(m_outputPipe, piece, sizeof(piece));
  if (count > 0) m_output.append(piece, static_cast<size_t>(count));
  return count > 0;
}
