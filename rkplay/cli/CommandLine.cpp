#include "rkplay/cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <filesystem>

#include "rkplay/cli/Messages.h"

namespace rkplay {

bool ParseCommandLine(CLI::App& app, int argumentCount, char** arguments) {
  try {
    app.parse(argumentCount, arguments);
  } catch (const CLI::Success& request) {
    app.exit(request);
    return false;
  } catch (const CLI::RequiredError& error) {
    // A mistyped option explains more than an argument that is missing because of it.
    const auto unknown = app.remaining();
    if (unknown.empty()) throw UsageError(error.what());
    throw UsageError(unknown.front() + ": there is no such option (--help lists them)");
  } catch (const CLI::ParseError& error) {
    throw UsageError(error.what());
  }
  return true;
}

void CheckFileName(const CLI::App& app, const std::string& option, const std::string& path,
                   const std::string& extension) {
  if (app.count(option) == 0) return;
  if (path.empty()) throw UsageError(option + ": no file name");
  if (path == "-") throw UsageError(option + ": the standard output cannot be written; name a file");
  std::string own = std::filesystem::path(path).extension().string();
  std::transform(own.begin(), own.end(), own.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  if (own.empty() || extension.empty() || own == extension) return;
  throw UsageError(option + ": " + path + " would be no " + own.substr(1) + " file: what is written is " +
                   extension);
}

}  // namespace rkplay
