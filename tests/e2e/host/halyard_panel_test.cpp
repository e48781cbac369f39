// halyard --panel: the settings panels of real sources, driven with lines on standard input.
#include <signal.h>

#include "tests/e2e/host/HalyardTest.h"
#include "tests/e2e/host/SimulatedPhone.h"

namespace e2e {
namespace {

using nlohmann::json;
using std::chrono::seconds;

class HalyardPanel : public HalyardTest {
protected:
    std::unique_ptr<ChildProcess> BeginPanel(std::vector<std::string> arguments) const {
        for (const char* word : {"--panel", "--trace"})
            arguments.emplace_back(word);
        arguments.emplace_back(directory / "trace");
        arguments.emplace_back("--report");
        arguments.emplace_back(ReportFile());
        return Begin(arguments, ChildProcess::Input::Pipe);
    }
    Ended Quit(ChildProcess& process) const {
        process.Write("quit\n");
        return WaitForEnd(process);
    }
    static testing::AssertionResult Says(ChildProcess& process, const std::string& text) {
        if (process.WaitForOutput(text, seconds(30))) return testing::AssertionSuccess();
        return testing::AssertionFailure() << text << " is not in:\n" << process.Output() << process.Errors();
    }
};

TEST_F(HalyardPanel, ShowsConnectedAndAPlausibleDataRate) {
    SimulatedPhone phone("127.0.18.2", {"--size", "640x360", "--bitrate", "1500"});
    const auto process = BeginPanel(Real({"--source", phone.Address()}));
    EXPECT_TRUE(Says(*process, "Source 1: 127.0.18.2\n  Address of the phone  [127.0.18.2]\n"));
    EXPECT_TRUE(Says(*process, "panel 1: Status: Connected"));
    EXPECT_TRUE(Says(*process, " Mbits\n"));
    EXPECT_TRUE(Says(*process, "dBFS  Connected      "));
    const Ended ended = Quit(*process);
    EXPECT_EQ(ended.exitCode, 0) << ended.errors;
    const json source = ended.report["sources"][0];
    EXPECT_EQ(source["status"], "Connected");
    ASSERT_TRUE(source["megabitsPerSecond"].is_number()) << source;
    EXPECT_GT(source["megabitsPerSecond"].get<double>(), 0.1);
    EXPECT_LT(source["megabitsPerSecond"].get<double>(), 3.0);
}

TEST_F(HalyardPanel, AnotherPhonesAddressMovesThePictureToThatPhone) {
    SimulatedPhone first("127.0.18.3", {"--size", "640x360"});
    SimulatedPhone second("127.0.18.4", {"--size", "320x180"});
    const auto process = BeginPanel(Real({"--source", first.Address()}));
    EXPECT_TRUE(Says(*process, "live      640x360"));
    process->Write("address 127.0.18.4\n");
    EXPECT_TRUE(Says(*process, "panel 1: Address of the phone: 127.0.18.4"));
    process->Write("connect\n");
    EXPECT_TRUE(Says(*process, "127.0.18.4       live      320x180"));
    const Ended ended = Quit(*process);
    EXPECT_EQ(ended.report["sources"][0]["address"], "127.0.18.4");
    EXPECT_EQ(ended.report["sources"][0]["width"], 320);

    const Ended again = Run(Real({"--duration", "0.5", "--quiet", "--report", ReportFile()}));
    ASSERT_EQ(again.report["sources"].size(), 1U);
    EXPECT_EQ(again.report["sources"][0]["address"], "127.0.18.4") << "it is stored";
}

TEST_F(HalyardPanel, WithoutASourceThereIsOneToFillIn) {
    SimulatedPhone phone("127.0.18.5", {"--size", "320x180"});
    const auto process = BeginPanel(Real({}));
    EXPECT_TRUE(Says(*process, "Source 1: no address yet\n  Address of the phone  []\n"));
    EXPECT_TRUE(Says(*process, " s  -                waiting"));
    process->Write("address  127.0.18.5 \nconnect\n");
    EXPECT_TRUE(Says(*process, "127.0.18.5       live      320x180"));
    EXPECT_TRUE(Says(*process, "panel 1: Status: Connected"));
    const Ended ended = Quit(*process);
    const json source = ended.report["sources"][0];

    const auto again = BeginPanel(Real({}));
    EXPECT_TRUE(Says(*again, "Source 1: 127.0.18.5\n"));
    EXPECT_TRUE(Says(*again, "127.0.18.5       live      320x180"));
    const json after = Quit(*again).report["sources"];
    ASSERT_EQ(after.size(), 1U);
    EXPECT_EQ(after[0]["identifier"], source["identifier"]);
}

TEST_F(HalyardPanel, AnAddressThatAnotherSourceHasIsRefusedWithTheAlert) {
    SimulatedPhone phone("127.0.18.6", {"--size", "320x180"});
    const auto process = BeginPanel(Real({"--source", "127.0.18.6", "--source", "127.0.18.7"}));
    process->Write("source 2\naddress ws://127.0.18.6/\nconnect\n");
    EXPECT_TRUE(Says(*process, "Source 2 of 2: 127.0.18.7\n"));
    EXPECT_TRUE(Says(*process, "panel 2: Alert: Another source already uses this address."));
    EXPECT_TRUE(Says(*process, "panel 2: Address of the phone: 127.0.18.7\n")) << "the field falls back";
    EXPECT_TRUE(Says(*process, "127.0.18.6       live      320x180"));
    const json sources = Quit(*process).report["sources"];
    EXPECT_EQ(sources[0]["address"], "127.0.18.6");
    EXPECT_EQ(sources[1]["address"], "127.0.18.7");
    EXPECT_EQ(sources[0]["connected"], true);
    EXPECT_EQ(sources[1]["connected"], false);
    EXPECT_EQ(sources[1]["status"], "Not connected");
}

TEST_F(HalyardPanel, AKilledPhoneShowsAsNotConnectedAndADash) {
    SimulatedPhone phone("127.0.18.8", {"--size", "320x180"});
    const auto process = BeginPanel(Real({"--source", phone.Address()}));
    EXPECT_TRUE(Says(*process, " Mbits\n"));
    phone.Kill();
    EXPECT_TRUE(Says(*process, "panel 1: Status: Not connected\npanel 1: Data rate: -\n"));
    const json source = Quit(*process).report["sources"][0];
    EXPECT_EQ(source["status"], "Not connected");
    EXPECT_TRUE(source["megabitsPerSecond"].is_null());
    EXPECT_EQ(source["connected"], true) << "a picture came";
}

TEST_F(HalyardPanel, AnEmptyAddressDisconnects) {
    SimulatedPhone phone("127.0.18.9", {"--size", "320x180"});
    const auto process = BeginPanel(Real({"--source", phone.Address()}));
    EXPECT_TRUE(Says(*process, "panel 1: Status: Connected"));
    process->Write("address \"\"\nconnect\n");
    EXPECT_TRUE(Says(*process, "panel 1: Status: Not connected"));
    EXPECT_TRUE(Says(*process, " s  -                offline"));
    EXPECT_EQ(Quit(*process).report["sources"][0]["address"], "");
}

TEST_F(HalyardPanel, IsThereWithoutBeingShown) {
    SimulatedPhone phone("127.0.18.10", {"--size", "320x180"});
    const auto process =
        Begin(Real({"--source", phone.Address(), "--trace", directory / "trace", "--report", ReportFile()}));
    EXPECT_TRUE(Says(*process, "dBFS  Connected      "));
    process->Signal(SIGTERM);
    const Ended ended = WaitForEnd(*process);
    EXPECT_EQ(ended.report["sources"][0]["status"], "Connected");
    EXPECT_EQ(ended.output.find("panel"), std::string::npos) << ended.output;
}

TEST_F(HalyardPanel, EndOfInputEndsItUnlessItHasADuration) {
    const auto source = [this](std::vector<std::string> more) {
        more.insert(more.begin(), {"--source", "320x180", "--panel", "--report", ReportFile()});
        return Fake(more);
    };
    EXPECT_LT(Run(source({})).report["durationSeconds"].get<double>(), 1.0);
    const Ended lasting = Run(source({"--duration", "1.2"}));
    EXPECT_EQ(lasting.exitCode, 0) << lasting.errors;
    EXPECT_GE(lasting.report["durationSeconds"].get<double>(), 1.2);
    EXPECT_NE(lasting.output.find("Source 1: 320x180"), std::string::npos);
    EXPECT_NE(lasting.output.find("1 s  320x180"), std::string::npos);
    const auto closed = Begin(source({"--duration", "0.5"}), ChildProcess::Input::Closed);
    EXPECT_EQ(WaitForEnd(*closed).exitCode, 0) << "no standard input at all";
}

TEST_F(HalyardPanel, QuitEndsItBeforeItsDuration) {
    const auto process = BeginPanel(Fake({"--source", "320x180", "--duration", "600"}));
    EXPECT_TRUE(Says(*process, "1 s  320x180"));
    EXPECT_EQ(Quit(*process).exitCode, 0);
}

TEST_F(HalyardPanel, AnswersBadCommandsAndGoesOn) {
    const auto process = BeginPanel(Fake({"--source", "320x180", "--quiet"}));
    process->Write("nonsense\nsource 7\n" + std::string(100'000, 'x') + "\nhelp\n");
    EXPECT_TRUE(Says(*process, "There is no command \"nonsense\"; \"help\" lists them."));
    EXPECT_TRUE(Says(*process, "There is no source 7;"));
    EXPECT_TRUE(Says(*process, "That line is too long."));
    EXPECT_TRUE(Says(*process, "presses \"Connect\""));
    const Ended ended = Quit(*process);
    EXPECT_EQ(ended.output.find("pictures/s"), std::string::npos) << "quiet: no progress";
    EXPECT_EQ(ended.errors, "");
}

TEST_F(HalyardPanel, GivesWayToAReportOnStandardOutput) {
    const Ended ended = Run(Fake({"--source", "320x180", "--panel", "--duration", "0.5", "--report", "-"}));
    EXPECT_TRUE(json::parse(ended.output, nullptr, false).is_object()) << ended.output;
    EXPECT_NE(ended.errors.find("Source 1: 320x180"), std::string::npos) << ended.errors;
}

}  // namespace
}  // namespace e2e
