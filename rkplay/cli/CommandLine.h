#pragma once

#include <string>

namespace CLI {
class App;
}

namespace rkplay {

// False when the command line asked for the help or the version, which has then been printed. Throws
// UsageError.
bool ParseCommandLine(CLI::App& app, int argumentCount, char** arguments);

// Throws UsageError for a name that is empty, and for one whose extension says that the file is of another
// kind than `extension` (as ".wav"; empty: any will do). An option that was not given passes.
void CheckFileName(const CLI::App& app, const std::string& option, const std::string& path,
                   const std::string& extension);

}  // namespace rkplay
