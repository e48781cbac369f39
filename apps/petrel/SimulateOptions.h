// What `petrel simulate` was asked to do.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/petrel/serve/ServeOptions.h"

namespace petrel {

enum class VideoCodec { H264, Vp8, Vp9 };

// As in session descriptions.
const char* EncodingName(VideoCodec codec);

struct SimulateOptions {
    std::vector<std::string> addresses{"127.0.0.2"};  // one phone on each
    std::string video = "pattern";                    // or a file
    std::string audio = "beeps";                      // or "none", or a file
    int width = 1280;
    int height = 720;
    int framesPerSecond = 30;
    int secondsBetweenTurns = 0;  // after which width and height change places; 0: never
    VideoCodec codec = VideoCodec::H264;
    std::string name;              // empty: a default for each address
    int bitrateKbits = 0;          // 0: by size and frame rate
    std::optional<bool> announce;  // nothing: by address
    bool encodeOnce = false;       // ten seconds of pictures beforehand, sent again and again
    double clockErrorPpm = 0;      // millionths by which the phone's clock is fast
    bool quiet = false;
};

// Either options to run with, of one of the commands, or a text to show (help, or what was wrong) and an exit
// code.
struct CommandLine {
    std::optional<SimulateOptions> options;
    std::string text;
    int exitCode = 0;
    ServeCommandLine::Choice serve;  // one of the other commands, if any
};

CommandLine ReadCommandLine(int argc, const char* const* argv);

// `count` IPv4 addresses from `first` upward; empty when `first` is none or the range leaves the address
// space.
std::vector<std::string> AddressesFrom(const std::string& first, int count);

// Whether the phone at this address is announced to the network: as asked, else unless it is a loopback
// address, which is of use to this machine alone.
bool IsAnnounced(const SimulateOptions& options, const std::string& address);

// The asked bitrate, or one that suits the size and the frame rate.
int VideoBitrateKbits(const SimulateOptions& options);

}  // namespace petrel
