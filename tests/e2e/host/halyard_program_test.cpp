// The program halyard: exit codes, report, signals, what it stores and what it prints.
#include <signal.h>

#include <algorithm>

#include "tests/e2e/host/HalyardTest.h"
#include "tests/e2e/host/SimulatedPhone.h"

namespace e2e {
namespace {

using nlohmann::json;

class HalyardProgram : public HalyardTest {};

TEST_F(HalyardProgram, ShowsAPhoneAndReportsIt) {
    SimulatedPhone phone("127.0.14.2", {"--size", "640x360"});
    const Ended ended = Run(Real({"--source", phone.Address(), "--duration", "8", "--probe", "--report",
                                  ReportFile(), "--trace", directory / "trace"}));
    EXPECT_EQ(ended.exitCode, 0) << ended.errors;
    ASSERT_TRUE(ended.report.is_object());
    EXPECT_NEAR(ended.report["durationSeconds"].get<double>(), 8.0, 0.5);
    ASSERT_EQ(ended.report["sources"].size(), 1U);
    const json source = ended.report["sources"][0];
    EXPECT_EQ(source["address"], phone.Address());
    EXPECT_EQ(source["connected"], true);
    EXPECT_EQ(source["width"], 640);
    EXPECT_EQ(source["height"], 360);
    EXPECT_GT(source["distinctPictures"].get<int>(), 120);
    EXPECT_LE(source["distinctPictures"], source["picturesPulled"]);
    EXPECT_LT(source["silentSoundBlocks"], source["soundBlocksPulled"]);
    EXPECT_GT(source["firstPictureMs"].get<double>(), 0.0);
    EXPECT_LT(source["firstPictureMs"].get<double>(), 5'000.0);
    EXPECT_GT(source["latencyMs"]["p50"].get<double>(), 0.0);
    EXPECT_LT(source["latencyMs"]["p50"].get<double>(), 200.0);
    EXPECT_GT(source["soundOffsetMs"].get<double>(), 0.0);
    EXPECT_LT(source["soundOffsetMs"].get<double>(), 400.0);
    const std::string trace = tests::ReadText(directory / "trace");
    EXPECT_NE(trace.find("nxWebRtcSession::Start"), std::string::npos) << trace;
    EXPECT_EQ(ended.errors, "") << "the trace goes to its file";
    EXPECT_NE(ended.output.find("live"), std::string::npos) << ended.output;
}

TEST_F(HalyardProgram, ExitCodeOneWhenASourceLacksPictureOrSound) {
    EXPECT_EQ(Run(Fake({"--source", "320x180", "--duration", "1"})).exitCode, 0);
    EXPECT_EQ(Run(Fake({"--source", "320x180", "--source", "silent", "--duration", "1"})).exitCode, 1);
    const Ended black = Run(Fake({"--source", "black", "--duration", "1", "--report", ReportFile()}));
    EXPECT_EQ(black.exitCode, 1);
    const json source = black.report["sources"][0];
    EXPECT_EQ(source["connected"], false);
    EXPECT_EQ(source["distinctPictures"], 0);
    EXPECT_TRUE(source["firstPictureMs"].is_null());
    EXPECT_FALSE(source.contains("latencyMs"));
}

TEST_F(HalyardProgram, ReportsSourcesInTheOrderGiven) {
    const Ended ended = Run(Fake({"--source", "b-320x180", "--source", "a-320x180", "--source", "c-320x180",
                                  "--duration", "0.5", "--report", ReportFile()}));
    ASSERT_EQ(ended.report["sources"].size(), 3U);
    EXPECT_EQ(ended.report["sources"][0]["address"], "b-320x180");
    EXPECT_EQ(ended.report["sources"][1]["address"], "a-320x180");
    EXPECT_EQ(ended.report["sources"][2]["address"], "c-320x180");
}

TEST_F(HalyardProgram, ExitCodeTwoSaysWhatCannotBeUsed) {
    const std::string file = directory / "file";
    tests::WriteText(file, "");
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"--plugin", directory / "none.so", "--source", "h"}, "no plug-in"},
        {{"--plugin", NO_PLUGIN, "--source", "h"}, "not a sources plug-in"},
        {{"--plugin", FAKE_PLUGIN, "--state", file, "--source", "h"}, "state directory"},
        {Fake({"--source", "h", "--report", directory / "none/report"}), "report"},
        {Fake({"--source", "h", "--report", directory.Path()}), "report"},
        {Fake({"--source", "h", "--record", file}), "recorded"},
        {Fake({"--source", "h", "--trace", directory / "none/trace"}), "trace"},
        {Fake({}), "no stored sources"},
        {{"--nonsense"}, "--nonsense"},
    };
    for (const auto& [arguments, expected] : cases) {
        const Ended ended = Run(arguments);
        EXPECT_EQ(ended.exitCode, 2) << expected;
        EXPECT_NE(ended.errors.find(expected), std::string::npos) << ended.errors;
        EXPECT_EQ(ended.errors.find("halyard: "), 0U) << ended.errors;
        EXPECT_EQ(ended.output, "");
    }
}

TEST_F(HalyardProgram, ASignalEndsItWithTheReportWritten) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        std::filesystem::remove(ReportFile());
        const auto process = Begin(Fake({"--source", "320x180", "--report", ReportFile()}));
        ASSERT_TRUE(process->WaitForOutput("1 s  320x180", std::chrono::seconds(30)));
        process->Signal(number);
        const Ended ended = WaitForEnd(*process);
        EXPECT_EQ(ended.exitCode, 0) << number << ended.errors;
        EXPECT_GE(ended.report["durationSeconds"].get<double>(), 1.0);
        EXPECT_EQ(ended.report["sources"][0]["connected"], true);
    }
}

TEST_F(HalyardProgram, ASignalWhileAPhoneStreamsEndsItCleanly) {
    SimulatedPhone phone("127.0.14.3", {"--size", "640x360"});
    const auto process =
        Begin(Real({"--source", phone.Address(), "--report", ReportFile(), "--record", directory / "takes"}));
    ASSERT_TRUE(process->WaitForOutput("live", std::chrono::seconds(30))) << process->Errors();
    process->Signal(SIGTERM);
    const Ended ended = WaitForEnd(*process);
    EXPECT_LE(ended.exitCode, 1) << "the sound may not have begun yet: " << ended.errors;
    EXPECT_EQ(ended.report["sources"][0]["connected"], true);
}

TEST_F(HalyardProgram, RunsStoredSourcesAgain) {
    const auto identifiers = [](const json& report) {
        std::vector<std::string> all;
        for (const json& source : report["sources"])
            all.push_back(source["identifier"]);
        return all;
    };
    SimulatedPhone phone("127.0.14.4", {"--size", "320x180"});
    const std::vector<std::string> rest = {"--duration", "0.5", "--report", ReportFile(), "--quiet"};
    const auto with = [&](std::vector<std::string> sources) {
        sources.insert(sources.end(), rest.begin(), rest.end());
        return identifiers(Run(Real(sources)).report);
    };
    const auto first = with({"--source", "127.0.14.4", "--source", "127.0.14.5"});
    ASSERT_EQ(first.size(), 2U);
    EXPECT_EQ(with({}), first) << "without --source all stored ones";
    EXPECT_EQ(with({"--source", "ws://127.0.14.5/"}), std::vector<std::string>{first[1]})
        << "with it exactly those, under the stored identifier";
    EXPECT_EQ(with({}).size(), 2U) << "the other one is still stored";
}

TEST_F(HalyardProgram, TheReportOnStandardOutputStandsAlone) {
    const Ended ended = Run(Fake({"--source", "320x180", "--duration", "1.2", "--report", "-"}));
    EXPECT_EQ(ended.exitCode, 0);
    const json report = json::parse(ended.output, nullptr, false);
    ASSERT_TRUE(report.is_object()) << ended.output;
    EXPECT_EQ(report["sources"].size(), 1U);
    EXPECT_NE(ended.errors.find("1 s  320x180"), std::string::npos) << "the progress gives way";
}

TEST_F(HalyardProgram, WritesALinePerSecondAndSourceOnAPipe) {
    const Ended ended = Run(Fake({"--source", "320x180", "--source", "black", "--duration", "2.5"}));
    EXPECT_EQ(std::count(ended.output.begin(), ended.output.end(), '\n'), 4) << ended.output;
    EXPECT_EQ(ended.output.find('\x1b'), std::string::npos) << "no cursor movements on a pipe";
    EXPECT_EQ(Run(Fake({"--source", "320x180", "--duration", "1.5", "--quiet"})).output, "");
}

TEST_F(HalyardProgram, SetsDamagedStoredSourcesAsideAndGoesOn) {
    std::filesystem::create_directories(directory / "state");
    tests::WriteText(directory / "state/sources.json", "{\"sources\": [");
    const Ended ended = Run(Fake({"--source", "320x180", "--duration", "0.5"}));
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_NE(ended.errors.find("set aside"), std::string::npos) << ended.errors;
    EXPECT_EQ(tests::ReadText(directory / "state/sources.json.damaged-1"), "{\"sources\": [");
}

}  // namespace
}  // namespace e2e
