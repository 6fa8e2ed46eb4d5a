// rkplay: plays clip lists through an output channel; previews one clip, or writes single frames of it.

#include <exception>
#include <string_view>

#include "rkplay/cli/Commands.h"
#include "rkplay/cli/Messages.h"
#include "rkplay/monitor/WindowLink.h"
#include "rkplay/monitor/WindowProcess.h"
#include "rkplay/system/Terminal.h"

namespace {

constexpr int kFailureStatus = 1;
constexpr int kUsageStatus = 2;

int Run(int argumentCount, char** arguments) {
  try {
    const std::string_view command = argumentCount > 1 ? arguments[1] : "";
    if (command == "preview") return rkplay::RunPreview(argumentCount - 1, arguments + 1);
    if (command == "frame") return rkplay::RunFrame(argumentCount - 1, arguments + 1);
    if (command == rkplay::kWindowCommand) return rkplay::RunWindowProcess();
    return rkplay::RunPlay(argumentCount, arguments);
  } catch (const rkplay::UsageError& error) {
    rkplay::PrintError(error.what());
    return kUsageStatus;
  } catch (const std::exception& error) {
    rkplay::PrintError(error.what());
    return kFailureStatus;
  }
}

}  // namespace

int main(int argumentCount, char** arguments) {
  rkplay::SetUpTerminalOutput();
  return Run(argumentCount, arguments);
}
