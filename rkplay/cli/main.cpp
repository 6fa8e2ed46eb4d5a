// rkplay: plays clip lists through an output channel; previews one clip, or writes single frames of it.

#include <cstdio>
#include <string>
#include <string_view>

#include "contracts/RkLogAPI.h"
#include "rkplay/cli/Options.h"
#include "rkplay/cli/PrintError.h"
#include "rkplay/cli/StopSignals.h"
#include "rkplay/cli/UsageError.h"
#include "rkplay/clips/ClipLoader.h"
#include "rkplay/frame/FrameCommand.h"
#include "rkplay/play/Player.h"
#include "rkplay/preview/PreviewCommand.h"

namespace rkplay {
namespace {

constexpr int kFailureStatus = 1;
constexpr int kUsageStatus = 2;

int Play(const Options& options) {
  Programme programme = LoadProgramme(options);
  RefuseOverwriting(options, programme.inputPaths);
  std::optional<OutputFile> statsFile;
  if (!options.statsPath.empty()) statsFile.emplace(options.statsPath);
  FrameOutput output(options, programme.format);
  if (!options.logPath.empty() && !RkLog_SetFile(options.logPath.c_str())) {
    throw UsageError(options.logPath + ": cannot be written");
  }
  StopSignals stopSignals;
  KeyQueue keys;
  std::optional<Monitor> monitor;
  if (options.monitor) monitor.emplace(*options.monitor, programme.format, keys);
  if (const auto mute = monitor ? monitor->WhyMute() : std::nullopt) PrintError(*mute);
  std::optional<TerminalKeys> terminal;
  if (options.manual || options.keys || TerminalKeys::IsTerminal()) terminal.emplace(keys);
  Statistics statistics =
      Player(programme, options,
             {output, stopSignals, keys, terminal ? &*terminal : nullptr, monitor ? &*monitor : nullptr})
          .Run();
  terminal.reset();
  monitor.reset();
  if (!options.logPath.empty()) RkLog_SetFile(nullptr);

  PrintSummary(statistics, stdout);
  if (statsFile) {
    const std::string json = ToJson(statistics);
    statsFile->Write(json.data(), json.size());
    if (!statsFile->Close()) statistics.errors.push_back(statsFile->Error());
  }
  for (const std::string& error : statistics.errors) PrintError(error);
  return statistics.ExitCode();
}

}  // namespace
}  // namespace rkplay

int main(int argumentCount, char** arguments) {
  try {
    const std::string_view command = argumentCount > 1 ? arguments[1] : "";
    if (command == "preview") return rkplay::RunPreview(argumentCount - 1, arguments + 1);
    if (command == "frame") return rkplay::RunFrame(argumentCount - 1, arguments + 1);
    const auto options = rkplay::ParseOptions(argumentCount, arguments);
    if (!options) return 0;
    return rkplay::Play(*options);
  } catch (const rkplay::UsageError& error) {
    rkplay::PrintError(error.what());
    return rkplay::kUsageStatus;
  } catch (const std::exception& error) {
    rkplay::PrintError(error.what());
    return rkplay::kFailureStatus;
  }
}
