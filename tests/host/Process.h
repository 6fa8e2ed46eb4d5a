#pragma once

#include <sys/types.h>
#include <csignal>
#include <string>
#include <vector>

// A program that runs beside the test: its input and output are pipes, its error output is kept. All
// waits end with the program; what hangs is ended by the limit that every test runs under.
class Process {
 public:
  explicit Process(const std::vector<std::string>& command);
  ~Process();  // ends it, should it still run
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  void Type(const std::string& text);
  void EndInput();
  void Signal(int signal) { kill(m_id, signal); }
  // Until the output so far holds the text; false when the program ended without it.
  bool WaitForOutput(const std::string& text);
  // Reads the rest and gives the exit status; 128 and the signal when one ended it.
  int Wait();

  const std::string& Output() const { return m_output; }
  const std::string& Errors() const { return m_errors; }  // after Wait

 private:
  bool _ReadMore();

  pid_t m_id = -1;
  int m_input = -1;
  int m_outputPipe = -1;
  int m_errorFile = -1;
  std::string m_output;
  std::string m_errors;
};
