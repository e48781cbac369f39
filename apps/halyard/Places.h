// Where halyard finds and keeps things unless it is told otherwise.
#pragma once

#include <filesystem>

namespace halyard {

// The plug-in beside the program: in the build tree and where both are installed. When there is none, the
// first place that was looked at.
std::filesystem::path DefaultPlugin();
std::filesystem::path DefaultPluginBeside(const std::filesystem::path& programDirectory);

// The program that serves phones, beside this one.
std::filesystem::path DefaultPhonesProgram();

// $XDG_STATE_HOME/halyard, else ~/.local/state/halyard; empty when there is no home either.
std::filesystem::path DefaultStateDirectory();

}  // namespace halyard
