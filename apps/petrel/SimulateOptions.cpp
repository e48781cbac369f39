#include "apps/petrel/SimulateOptions.h"

#include <arpa/inet.h>
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <sstream>

#include "mdns/NetworkInterfaces.h"
#include "support/frame_stamp.h"

namespace petrel {
namespace {

constexpr int kUsageError = 2;
constexpr int kMaximumPhones = 64;
constexpr int kMaximumWidth = 3840;
constexpr int kMaximumHeight = 2160;
constexpr double kLargestClockError = 1000;
constexpr int kMostSecondsBetweenTurns = 3600;

std::optional<int> ReadNumber(const std::string& text) {
    int value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end) return std::nullopt;
    return value;
}

// Empty when the text is a usable size; both numbers even, because the colour planes are half as large.
std::string ReadSize(const std::string& text, SimulateOptions& options) {
    const std::size_t cross = text.find('x');
    if (cross == std::string::npos) return "a size looks like 1280x720";
    const std::optional<int> width = ReadNumber(text.substr(0, cross));
    const std::optional<int> height = ReadNumber(text.substr(cross + 1));
    if (!width || !height) return "a size looks like 1280x720";
    if (*width % 2 != 0 || *height % 2 != 0) return "width and height must be even";
    if (*width < support::frame_stamp::kMinimumWidth || *height < support::frame_stamp::kMinimumHeight ||
        *width > kMaximumWidth || *height > kMaximumHeight) {
        return fmt::format("the size must be between {}x{} and {}x{}", support::frame_stamp::kMinimumWidth,
                           support::frame_stamp::kMinimumHeight, kMaximumWidth, kMaximumHeight);
    }
    options.width = *width;
    options.height = *height;
    return {};
}

// A client takes a phone without a name, or with the client's own one, for an echo of itself.
std::string CheckName(const std::string& name) {
    if (name.empty()) return "the name must not be empty";
    if (name == "Halyard") return "the name \"Halyard\" belongs to the other side";
    return {};
}

std::string CheckRotation(const SimulateOptions& options) {
    if (options.secondsBetweenTurns == 0) return {};
    if (options.video != "pattern") return "only the pattern can be turned";
    if (options.height < support::frame_stamp::kMinimumWidth) {
        return fmt::format("a picture that is turned must be at least {} high",
                           support::frame_stamp::kMinimumWidth);
    }
    return {};
}

// Stamps of a loop tell their age by a clock that keeps time.
std::string CheckEncodingOnce(const SimulateOptions& options) {
    if (!options.encodeOnce) return {};
    if (options.video != "pattern") return "only the pattern can be encoded once";
    if (options.clockErrorPpm != 0) return "not with --clock-error";
    return {};
}

}  // namespace

const char* EncodingName(VideoCodec codec) {
    switch (codec) {
        case VideoCodec::Vp8:
            return "VP8";
        case VideoCodec::Vp9:
            return "VP9";
        case VideoCodec::H264:
            break;
    }
    return "H264";
}

CommandLine ReadCommandLine(int argc, const char* const* argv) {
    SimulateOptions options;
    std::string listen = options.addresses.front();
    int phones = 1;

    CLI::App program{"The phone side: cameras that a host takes live pictures and sound from."};
    program.name("petrel");
    program.require_subcommand(1);
    CLI::App* simulate = program.add_subcommand("simulate", "Be one or several phones, for development.");
    simulate->footer(
        "SIGUSR1 lets the encoder hang, for a second or more, until a client asks for a key picture, SIGUSR2 "
        "until one negotiates "
        "anew.");
    simulate->add_option("--listen", listen,
                         "IPv4 address to listen on, always port 9001 (default 127.0.0.2)");
    simulate
        ->add_option("--phones", phones, "number of phones, on addresses from --listen upward (default 1)")
        ->check(CLI::Range(1, kMaximumPhones));
    simulate->add_option("--video", options.video, "\"pattern\", or a file to loop (default pattern)");
    simulate
        ->add_option_function<std::string>(
            "--size",
            [&options](const std::string& text) {
                const std::string problem = ReadSize(text, options);
                if (!problem.empty()) throw CLI::ValidationError("--size", problem);
            },
            "picture size (default 1280x720)")
        ->type_name("WxH");
    simulate->add_option("--fps", options.framesPerSecond, "pictures per second (default 30)")
        ->check(CLI::Range(1, 120));
    simulate
        ->add_option("--rotate", options.secondsBetweenTurns,
                     "turn the phone each time so many seconds have passed: width and height change places "
                     "(default: never)")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, kMostSecondsBetweenTurns));
    std::string codec = "h264";
    simulate->add_option("--codec", codec, "\"h264\", \"vp8\" or \"vp9\" (default h264)")
        ->check(CLI::IsMember({"h264", "vp8", "vp9"}));
    simulate->add_option("--audio", options.audio, "\"beeps\", \"none\", or a file to loop (default beeps)");
    CLI::Option* name = simulate->add_option("--name", options.name,
                                             "user name (default: \"Petrel simulator\" and a number)");
    simulate->add_option("--bitrate", options.bitrateKbits, "kilobits per second of video (default: by size)")
        ->check(CLI::Range(50, 100'000));
    simulate
        ->add_option("--clock-error", options.clockErrorPpm,
                     "millionths by which the phone's clock is fast (default 0)")
        ->type_name("PPM")
        ->check(CLI::Range(-kLargestClockError, kLargestClockError));
    simulate->add_flag(
        "--encode-once", options.encodeOnce,
        "encode ten seconds of the pattern at the beginning and send them again and again, which "
        "leaves the processor to others");
    bool announce = false;
    CLI::Option* announced = simulate->add_flag(
        "--announce,!--no-announce", announce,
        "announce the phones to the network (default: those whose address is not a loopback one)");
    simulate->add_flag("--quiet", options.quiet, "say only what goes wrong");
    const ServeCommandLine serve(program);

    try {
        program.parse(argc, argv);
        if (!simulate->parsed()) return {std::nullopt, {}, 0, serve.Chosen()};
        options.addresses = AddressesFrom(listen, phones);
        if (options.addresses.empty()) {
            throw CLI::ValidationError("--listen", "not an IPv4 address with room for all phones");
        }
        options.codec = codec == "vp9"   ? VideoCodec::Vp9
                        : codec == "vp8" ? VideoCodec::Vp8
                                         : VideoCodec::H264;
        if (const std::string problem = CheckRotation(options); !problem.empty()) {
            throw CLI::ValidationError("--rotate", problem);
        }
        if (const std::string problem = CheckEncodingOnce(options); !problem.empty()) {
            throw CLI::ValidationError("--encode-once", problem);
        }
        if (announced->count() > 0) options.announce = announce;
        if (name->count() > 0) {
            const std::string problem = CheckName(options.name);
            if (!problem.empty()) throw CLI::ValidationError("--name", problem);
        }
    } catch (const CLI::ParseError& error) {
        std::ostringstream out;
        const int code = program.exit(error, out, out);
        return {std::nullopt, out.str(), code == 0 ? 0 : kUsageError, {}};
    }
    return {options, {}, 0, {}};
}

std::vector<std::string> AddressesFrom(const std::string& first, int count) {
    in_addr parsed{};
    if (count < 1 || inet_pton(AF_INET, first.c_str(), &parsed) != 1) return {};
    const std::uint32_t start = ntohl(parsed.s_addr);
    const auto steps = static_cast<std::uint32_t>(count - 1);
    if (start > UINT32_MAX - steps) return {};
    std::vector<std::string> addresses;
    for (std::uint32_t step = 0; step <= steps; ++step) {
        const in_addr address{htonl(start + step)};
        char text[INET_ADDRSTRLEN] = {};
        inet_ntop(AF_INET, &address, text, sizeof text);
        addresses.emplace_back(text);
    }
    return addresses;
}

bool IsAnnounced(const SimulateOptions& options, const std::string& address) {
    return options.announce.value_or(!mdns::IsLoopbackAddress(address));
}

int VideoBitrateKbits(const SimulateOptions& options) {
    if (options.bitrateKbits > 0) return options.bitrateKbits;
    constexpr double kBitsPerPixel = 0.1;
    const double kbits = kBitsPerPixel * options.width * options.height * options.framesPerSecond / 1000.0;
    return std::clamp(static_cast<int>(kbits), 300, 20'000);
}

}  // namespace petrel
