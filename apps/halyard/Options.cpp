#include "apps/halyard/Options.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cmath>
#include <ostream>
#include <set>

#include "apps/halyard/Places.h"
#include "host_runtime/sources/SourceText.h"

namespace halyard {
namespace {

constexpr double kHighestFrameRate = 240.0;
constexpr double kLongestSeconds = 1e9;
constexpr std::int64_t kHighestPort = 65'535;

std::optional<double> ParseNumber(std::string_view text) {
    double value = 0;
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool whole = code == std::errc() && end == text.data() + text.size();
    return whole && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

std::optional<std::int64_t> ParseWhole(std::string_view text) {
    std::int64_t value = 0;
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool whole = code == std::errc() && end == text.data() + text.size();
    return whole && value > 0 && value <= 1'000'000 ? std::optional(value) : std::nullopt;
}

// Nothing when all is well, else what is wrong.
std::string CheckSources(const std::vector<std::string>& sources) {
    std::set<std::string> seen;
    for (const std::string& address : sources) {
        const std::string key = host_runtime::AddressKey(address);
        if (!host_runtime::IsUsableHost(key))
            return "--source '" + address + "' is not the address of a phone";
        if (!seen.insert(key).second) return "--source '" + address + "' is given twice";
    }
    return {};
}

struct RawOptions {
    std::string frameRate = "30";
    std::string duration;
    std::string phonesPort;
};

void Declare(CLI::App& app, Options& options, RawOptions& raw) {
    app.set_version_flag("--version", std::string("halyard ") + HALYARD_VERSION);
    app.add_option("--source", options.sources,
                   "Address of a phone; may be given several times. Without it, all stored sources run")
        ->type_name("ADDRESS")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_flag("--discovered", options.discovered,
                 "Run every phone that is found in the local network (instead of the stored sources)");
    CLI::Option* const withPhones = app.add_flag(
        "--with-phones", options.phones.wanted,
        "Let the browsers of phones be cameras: runs petrel serve, and every phone whose page is open");
    app.add_option("--phones-port", raw.phonesPort, "Port of the phones' page (default: 9443)")
        ->type_name("N")
        ->needs(withPhones);
    app.add_option("--phones-name", options.phones.name,
                   "What the phones call this host (default: the machine's name)")
        ->type_name("TEXT")
        ->needs(withPhones);
    app.add_option("--phones-bind", options.phones.bind,
                   "Addresses of this machine, one for each phone, for hosts on other machines too")
        ->type_name("A,B,C")
        ->needs(withPhones);
    app.add_option("--plugin", options.plugin, "The plug-in to load (default: found beside this program)")
        ->type_name("FILE");
    app.add_option("--state", options.stateDirectory,
                   "Directory where sources are kept (default: halyard in the XDG state directory)")
        ->type_name("DIR");
    app.add_option("--fps", raw.frameRate, "Pictures pulled per second (default: 30)")->type_name("N");
    app.add_option("--duration", raw.duration, "End after so long (default: run until a signal)")
        ->type_name("SECONDS");
    app.add_option("--record", options.recordDirectory, "Record each source into an .mkv file there")
        ->type_name("DIR");
    app.add_flag("--probe", options.probe, "Decode the stamps of the test pattern");
    app.add_flag("--panel", options.panel,
                 "Show the sources' settings panels and take commands on standard input; type help");
    app.add_option("--report", options.report, "Write a JSON report at the end; - is standard output")
        ->type_name("FILE|-");
    app.add_option("--timeline", options.timelineFile, "Write down there when each new picture was pulled")
        ->type_name("FILE");
    app.add_flag("--quiet", options.quiet, "No progress lines");
    app.add_option("--trace", options.traceFile, "Write the host trace there (default: standard error)")
        ->type_name("FILE");
    app.footer(
        "Exit code: 0 when every source delivered picture and sound, 1 when one did not or a recording or\n"
        "the report failed, 2 for bad usage. SIGINT and SIGTERM end the program with the report written.");
}

// Nothing when all is well, else what is wrong.
std::string Complete(const CLI::App& app, Options& options, const RawOptions& raw) {
    if (std::string problem = CheckSources(options.sources); !problem.empty()) return problem;
    const auto rate = ParseFrameRate(raw.frameRate);
    if (!rate) return "--fps takes a number above 0, at most 240, not '" + raw.frameRate + "'";
    options.frameRate = *rate;
    if (app.count("--duration") != 0) {
        options.durationSeconds = ParseNumber(raw.duration);
        if (!options.durationSeconds || *options.durationSeconds <= 0 ||
            *options.durationSeconds > kLongestSeconds)
            return "--duration takes a number of seconds above 0, not '" + raw.duration + "'";
    }
    if (app.count("--phones-port") != 0) {
        const auto port = raw.phonesPort == "0" ? std::optional<std::int64_t>(0) : ParseWhole(raw.phonesPort);
        if (!port || *port > kHighestPort)
            return "--phones-port takes a port number, not '" + raw.phonesPort + "'";
        options.phones.port = std::to_string(*port);
    }
    for (const char* name : {"--phones-name", "--phones-bind", "--plugin", "--state", "--record", "--report",
                             "--timeline", "--trace"}) {
        if (app.count(name) != 0 && app.get_option(name)->as<std::string>().empty())
            return std::string(name) + " is empty";
    }
    if (options.plugin.empty()) options.plugin = DefaultPlugin();
    if (options.stateDirectory.empty()) options.stateDirectory = DefaultStateDirectory();
    if (options.stateDirectory.empty()) return "there is no home directory; give --state DIR";
    return {};
}

}  // namespace

std::optional<host_runtime::FrameRate> ParseFrameRate(const std::string& text) {
    const std::size_t slash = text.find('/');
    host_runtime::FrameRate rate;
    if (slash != std::string::npos) {
        const auto numerator = ParseWhole(std::string_view(text).substr(0, slash));
        const auto denominator = ParseWhole(std::string_view(text).substr(slash + 1));
        if (!numerator || !denominator) return std::nullopt;
        rate = {*numerator, *denominator};
    } else {
        constexpr std::int64_t kPrecision = 1000;
        const auto value = ParseNumber(text);
        if (!value || *value > kHighestFrameRate) return std::nullopt;
        rate = {std::llround(*value * static_cast<double>(kPrecision)), kPrecision};
    }
    const double picturesPerSecond =
        static_cast<double>(rate.numerator) / static_cast<double>(rate.denominator);
    if (rate.numerator <= 0 || picturesPerSecond > kHighestFrameRate) return std::nullopt;
    return rate;
}

std::optional<Options> ParseCommandLine(int argc, const char* const* argv, std::ostream& out,
                                        std::ostream& err, int& exitCode) {
    Options options;
    RawOptions raw;
    CLI::App app("Shows the picture and plays the sound of phones through a sources plug-in.", "halyard");
    Declare(app, options, raw);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& success) {
        exitCode = app.exit(success, out, err);
        return std::nullopt;
    } catch (const CLI::Error& failure) {
        err << "halyard: " << failure.what() << "\nTry 'halyard --help'.\n";
        exitCode = kExitBadUsage;
        return std::nullopt;
    }
    if (const std::string problem = Complete(app, options, raw); !problem.empty()) {
        err << "halyard: " << problem << "\nTry 'halyard --help'.\n";
        exitCode = kExitBadUsage;
        return std::nullopt;
    }
    return options;
}

}  // namespace halyard
