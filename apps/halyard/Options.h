// The command line of halyard.
#pragma once

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "host_runtime/sources/PullGrid.h"

namespace halyard {

inline constexpr int kExitDelivered = 0;
inline constexpr int kExitMissing = 1;  // a source did not deliver
inline constexpr int kExitBadUsage = 2;

// Of the server that makes phones of browsers.
struct PhonesOptions {
    bool wanted = false;
    std::string port;  // each is left to the server when it is empty
    std::string name;
    std::string bind;
};

struct Options {
    std::vector<std::string> sources;  // addresses; empty: every stored source, unless discovered
    bool discovered = false;           // run the phones that are found in the network
    PhonesOptions phones;              // run a server for them, and those whose page is open
    std::filesystem::path plugin;
    std::filesystem::path stateDirectory;
    host_runtime::FrameRate frameRate;
    std::optional<double> durationSeconds;
    std::filesystem::path recordDirectory;  // empty: no recording
    bool probe = false;
    bool panel = false;  // show and drive the settings panels
    std::string report;  // a file, "-" for standard output, empty for none
    bool quiet = false;
    std::filesystem::path timelineFile;  // empty: none
    std::filesystem::path traceFile;     // empty: standard error
};

// Nothing when the program is to end at once: help or version was asked for (`exitCode` 0), or the usage is
// bad (`exitCode` 2). What there is to say has been written to `out` or `err` then.
std::optional<Options> ParseCommandLine(int argc, const char* const* argv, std::ostream& out,
                                        std::ostream& err, int& exitCode);

// A positive decimal number up to 240, or a ratio such as 30000/1001.
std::optional<host_runtime::FrameRate> ParseFrameRate(const std::string& text);

}  // namespace halyard
