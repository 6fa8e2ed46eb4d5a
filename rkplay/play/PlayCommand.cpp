#include <optional>

#include "contracts/RkLogAPI.h"
#include "rkplay/cli/Commands.h"
#include "rkplay/cli/Messages.h"
#include "rkplay/cli/Options.h"
#include "rkplay/play/Player.h"

namespace rkplay {
namespace {

Statistics Play(Programme& programme, const Options& options, FrameOutput& output) {
  StopSignals stopSignals;
  KeyQueue keys;
  std::optional<Monitor> monitor;
  if (options.monitor) monitor.emplace(*options.monitor, programme.format, keys);
  if (const auto mute = monitor ? monitor->WhyMute() : std::nullopt) PrintError(*mute);
  std::optional<TerminalKeys> terminal;
  if (options.manual || options.keys || TerminalKeys::IsTerminal()) terminal.emplace(keys);
  Player player(programme, {options.manual, options.realtime},
                {output, stopSignals, keys, terminal ? &*terminal : nullptr, monitor ? &*monitor : nullptr});
  return player.Run();
}

void WriteStatistics(Statistics& statistics, OutputFile& file) {
  const std::string json = ToJson(statistics);
  file.Write(json.data(), json.size());
  if (!file.Close()) statistics.errors.push_back(file.Error());
}

}  // namespace

int RunPlay(int argumentCount, char** arguments) {
  const auto options = ParseOptions(argumentCount, arguments);
  if (!options) return 0;
  const FileOptions& files = options->files;
  const bool isOnAir = options->monitor || options->realtime;
  Programme programme =
      LoadProgramme(options->clips, options->format, isOnAir ? kOnAirPatienceMs : kOfflinePatienceMs);
  StartAt(programme, options->startFrame);
  const std::string soundPath = options->monitor ? options->monitor->soundPath : "";
  RefuseOverwriting({files.videoPath, files.audioPath, soundPath, files.logPath, files.statsPath},
                    programme.inputPaths);
  std::optional<OutputFile> statsFile;
  if (!files.statsPath.empty()) statsFile.emplace(files.statsPath);
  FrameOutput output(files.videoPath, files.audioPath, programme.format);
  if (!files.logPath.empty() && !RkLog_SetFile(files.logPath.c_str())) {
    throw UsageError(files.logPath + ": cannot be written");
  }
  Statistics statistics = Play(programme, *options, output);
  statistics.notes = programme.notes;
  if (!files.logPath.empty()) RkLog_SetFile(nullptr);

  PrintSummary(statistics, stdout);
  if (statsFile) WriteStatistics(statistics, *statsFile);
  for (const std::string& error : statistics.errors) PrintError(error);
  return statistics.ExitCode();
}

}  // namespace rkplay
