#include "apps/halyard/Options.h"

#include <gtest/gtest.h>

#include <sstream>

namespace halyard {
namespace {

struct Parsed {
    std::optional<Options> options;
    std::string out;
    std::string err;
    int exitCode = -1;
};

Parsed Parse(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "halyard");
    std::ostringstream out;
    std::ostringstream err;
    Parsed parsed;
    parsed.options =
        ParseCommandLine(static_cast<int>(arguments.size()), arguments.data(), out, err, parsed.exitCode);
    parsed.out = out.str();
    parsed.err = err.str();
    return parsed;
}

TEST(Options, HaveDefaults) {
    const Parsed parsed = Parse({});
    ASSERT_TRUE(parsed.options) << parsed.err;
    EXPECT_TRUE(parsed.options->sources.empty());
    EXPECT_EQ(parsed.options->frameRate.numerator, 30 * parsed.options->frameRate.denominator);
    EXPECT_FALSE(parsed.options->durationSeconds);
    EXPECT_FALSE(parsed.options->discovered);
    EXPECT_FALSE(parsed.options->phones.wanted);
    EXPECT_FALSE(parsed.options->probe);
    EXPECT_FALSE(parsed.options->quiet);
    EXPECT_FALSE(parsed.options->panel);
    EXPECT_TRUE(parsed.options->report.empty());
    EXPECT_EQ(parsed.options->plugin.filename(), "kestrel.so");
    EXPECT_EQ(parsed.options->stateDirectory.filename(), "halyard");
}

TEST(Options, AreAllUnderstood) {
    const Parsed parsed = Parse({"--source",
                                 "10.0.0.1",
                                 "--source=ws://10.0.0.2/",
                                 "--plugin",
                                 "p.so",
                                 "--state",
                                 "s",
                                 "--fps",
                                 "59.94",
                                 "--duration",
                                 "2.5",
                                 "--record",
                                 "r",
                                 "--probe",
                                 "--report",
                                 "-",
                                 "--quiet",
                                 "--trace",
                                 "t",
                                 "--discovered",
                                 "--panel",
                                 "--timeline",
                                 "l",
                                 "--with-phones",
                                 "--phones-port",
                                 "8443",
                                 "--phones-name",
                                 "Hall",
                                 "--phones-bind",
                                 "10.0.0.3,10.0.0.4"});
    ASSERT_TRUE(parsed.options) << parsed.err;
    const Options& options = *parsed.options;
    EXPECT_EQ(options.sources, (std::vector<std::string>{"10.0.0.1", "ws://10.0.0.2/"}));
    EXPECT_EQ(options.plugin, "p.so");
    EXPECT_EQ(options.stateDirectory, "s");
    EXPECT_EQ(options.frameRate.numerator, 59'940);
    EXPECT_EQ(options.frameRate.denominator, 1'000);
    EXPECT_EQ(options.durationSeconds, 2.5);
    EXPECT_EQ(options.recordDirectory, "r");
    EXPECT_TRUE(options.discovered);
    EXPECT_TRUE(options.probe);
    EXPECT_EQ(options.report, "-");
    EXPECT_TRUE(options.quiet);
    EXPECT_TRUE(options.panel);
    EXPECT_EQ(options.traceFile, "t");
    EXPECT_EQ(options.timelineFile, "l");
    EXPECT_TRUE(options.phones.wanted);
    EXPECT_EQ(options.phones.port, "8443");
    EXPECT_EQ(options.phones.name, "Hall");
    EXPECT_EQ(options.phones.bind, "10.0.0.3,10.0.0.4");
}

TEST(Options, BadUsageIsExitCodeTwoWithAReason) {
    const std::vector<std::vector<const char*>> cases = {
        {"--nonsense"},
        {"stray"},
        {"--source"},
        {"--source", ""},
        {"--source", "[::1]"},
        {"--fps", "0"},
        {"--fps", "-1"},
        {"--fps", "241"},
        {"--fps", "fast"},
        {"--fps", "30/0"},
        {"--fps", "nan"},
        {"--duration", "0"},
        {"--duration", "-3"},
        {"--duration", "x"},
        {"--duration", "inf"},
        {"--duration", ""},
        {"--plugin", ""},
        {"--state", ""},
        {"--record", ""},
        {"--report", ""},
        {"--trace", ""},
        {"--probe=maybe"},
        {"--phones-port", "8443"},
        {"--phones-name", "Hall"},
        {"--phones-bind", "10.0.0.3"},
        {"--with-phones", "--phones-port", "65536"},
        {"--with-phones", "--phones-port", "-1"},
        {"--with-phones", "--phones-port", ""},
        {"--with-phones", "--phones-name", ""},
        {"--with-phones", "--phones-bind", ""},
        {"--source", "h", "--source", "ws://h:9001/"},
    };
    for (const auto& arguments : cases) {
        const Parsed parsed = Parse(arguments);
        EXPECT_FALSE(parsed.options) << arguments.front();
        EXPECT_EQ(parsed.exitCode, kExitBadUsage) << arguments.front();
        EXPECT_TRUE(parsed.out.empty());
        EXPECT_EQ(parsed.err.find("halyard: "), 0U) << parsed.err;
        EXPECT_NE(parsed.err.find("--help"), std::string::npos);
    }
}

TEST(Options, HelpAndVersionGoToStandardOutput) {
    const Parsed help = Parse({"--help"});
    EXPECT_FALSE(help.options);
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.err.empty());
    for (const char* name :
         {"--source", "--discovered", "--plugin", "--state", "--fps", "--duration", "--record", "--probe",
          "--report", "--quiet", "--trace", "--panel", "--with-phones", "--phones-port", "--phones-name",
          "--phones-bind", "--version", "Exit code"}) {
        EXPECT_NE(help.out.find(name), std::string::npos) << name;
    }
    const Parsed version = Parse({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.out.find("halyard "), 0U) << version.out;
}

TEST(Options, FrameRatesMayBeRatios) {
    const auto ratio = ParseFrameRate("30000/1001");
    ASSERT_TRUE(ratio);
    EXPECT_EQ(ratio->numerator, 30'000);
    EXPECT_EQ(ratio->denominator, 1'001);
    EXPECT_TRUE(ParseFrameRate("240"));
    EXPECT_TRUE(ParseFrameRate("0.5"));
    for (const char* text : {"", "/", "1/", "/1", "1/2/3", "500/2", "1e9", "0.0001", " 30", "30 ", "+30/1"})
        EXPECT_FALSE(ParseFrameRate(text)) << text;
}

}  // namespace
}  // namespace halyard
