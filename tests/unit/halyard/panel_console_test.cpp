#include "apps/halyard/PanelConsole.h"

#include <chrono>

#include "host_runtime/core/MainThreadQueue.h"
#include "tests/fakes/VirtualTime.h"
#include "tests/unit/halyard/PanelBench.h"
#include "tests/unit/halyard/Terminal.h"

namespace halyard {
namespace {

using End = PanelConsole::End;
using Ends = std::vector<End>;

const eDialogOptions kAlert(0, "p_kestrel_endpoint_exists", "", false);

// What is printed where nothing can be redrawn.
class PipedConsole : public testing::Test {
protected:
    PipedConsole() {
        bench.Add("10.0.0.1");
        bench.Add("10.0.0.2");
    }
    std::string After(std::string_view input) {
        console.OnInput(input);
        return pipe.Text();
    }
    std::string AfterALook() {
        time.AdvanceBy(PanelConsole::kLookPeriodUs);
        return pipe.Text();
    }
    void Start() {
        console.Start();
        pipe.Text();
    }

    fakes::VirtualTime time;
    const Pipe pipe;
    PanelBench bench;
    Ends ends;
    Progress progress{pipe.Writer(), Progress::Style::PlainLines};
    PanelConsole console{bench.Shown(), progress, Progress::Style::PlainLines, pipe.Writer(),
                         [this](End end) { ends.push_back(end); }};
};

TEST_F(PipedConsole, BeginsWithThePanel) {
    console.Start();
    EXPECT_EQ(pipe.Text(),
              "Source 1 of 2: 10.0.0.1\n  Address of the phone  []\n  [ Connect ]\n"
              "  Status                Not connected\n  Data rate\n");
    EXPECT_EQ(AfterALook(), "") << "nothing changed";
}

TEST_F(PipedConsole, PrintsEachLineOfThePanelThatChanged) {
    Start();
    bench.At(0).Set("state", "titl", "p_connected");
    bench.At(0).Set("rate", "titl", "8.1 Mbits");
    EXPECT_EQ(AfterALook(), "panel 1: Status: Connected\npanel 1: Data rate: 8.1 Mbits\n");
    bench.At(0).Set("rate", "titl", "");
    EXPECT_EQ(AfterALook(), "panel 1: Data rate:\n");
    bench.At(1).Set("state", "titl", "p_connected");
    EXPECT_EQ(AfterALook(), "") << "another source's panel";
}

TEST_F(PipedConsole, PrintsThePanelAgainWhenItsLayoutChanged) {
    Start();
    eView& views = *bench.At(0).views;
    views.RemoveChildView(views.Children()[2].get());
    EXPECT_EQ(AfterALook().find("Source 1 of 2: 10.0.0.1\n"), 0U);
}

TEST_F(PipedConsole, PrintsTheAlertsOfEveryPanelOnce) {
    Start();
    bench.At(0).glass->WindowModalAlert(kAlert);
    bench.At(1).glass->WindowModalAlert(kAlert);
    EXPECT_EQ(AfterALook(),
              "panel 1: Alert: Another source already uses this address.\n"
              "panel 2: Alert: Another source already uses this address.\n");
    EXPECT_EQ(AfterALook(), "");
}

TEST_F(PipedConsole, ShowsAtOnceWhatACommandDid) {
    Start();
    bench.At(0).glass->AddCommand("cmd_connect", [this] { bench.At(0).glass->WindowModalAlert(kAlert); });
    EXPECT_EQ(After("address 10.0.0.9\n"), "panel 1: Address of the phone: 10.0.0.9\n");
    EXPECT_EQ(After("connect\nfoo\n"),
              "panel 1: Alert: Another source already uses this address.\n"
              "There is no command \"foo\"; \"help\" lists them.\n");
}

TEST_F(PipedConsole, DrawsWhatIsChosenAndAskedFor) {
    Start();
    EXPECT_EQ(After("source 2\n").find("Source 2 of 2: 10.0.0.2\n"), 0U);
    bench.At(1).Set("state", "titl", "p_connected");
    const std::string drawn = After("show\n");
    EXPECT_NE(drawn.find("Status                Connected"), std::string::npos) << drawn;
    EXPECT_EQ(AfterALook(), "") << "what was drawn is no news";
}

TEST_F(PipedConsole, TakesInputInPieces) {
    Start();
    EXPECT_EQ(After("addr"), "");
    EXPECT_EQ(After("ess 10.0.0.8\nadd"), "panel 1: Address of the phone: 10.0.0.8\n");
    EXPECT_EQ(After("ress 10.0.0.9"), "");
    EXPECT_EQ(After(""), "panel 1: Address of the phone: 10.0.0.9\n") << "the last line needs no end";
    EXPECT_EQ(ends, Ends{End::Input});
}

TEST_F(PipedConsole, GoesOnShowingAfterTheEndOfTheInput) {
    Start();
    EXPECT_EQ(After(""), "");
    bench.At(0).Set("state", "titl", "p_connected");
    EXPECT_EQ(AfterALook(), "panel 1: Status: Connected\n");
    EXPECT_EQ(ends, Ends{End::Input});
}

TEST_F(PipedConsole, TakesNothingAfterQuit) {
    Start();
    EXPECT_EQ(After("quit\naddress 10.0.0.9\n"), "");
    EXPECT_EQ(After("address 10.0.0.9\n"), "");
    EXPECT_EQ(After(""), "");
    EXPECT_EQ(ends, Ends{End::Command});
    EXPECT_EQ(bench.At(0).Get("ip_addr", "text"), "");
}

TEST_F(PipedConsole, ReadsADescriptorToItsEnd) {
    Start();
    const Pipe input;
    ASSERT_EQ(write(input.Writer(), "source 2\nquit\n", 14), 14);
    console.ReadFrom(input.Reader());
    auto& queue = host_runtime::MainThreadQueue::Default();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    const auto isDue = [&] { return queue.NextDueUs().value_or(INT64_MAX) <= time.NowUs(); };
    while (!isDue() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();
    time.RunDue();
    EXPECT_EQ(ends, Ends{End::Command});
    EXPECT_EQ(pipe.Text().find("Source 2 of 2"), 0U);
}

TEST(PanelConsoleEnd, DropsInputThatIsStillUnderWay) {
    fakes::VirtualTime time;
    const Pipe output;
    const Pipe input;
    PanelBench bench;
    BenchPanel& panel = bench.Add("10.0.0.1");
    Progress progress(output.Writer(), Progress::Style::PlainLines);
    for (int round = 0; round < 20; ++round) {
        PanelConsole console(bench.Shown(), progress, Progress::Style::PlainLines, output.Writer(), {});
        console.Start();
        ASSERT_EQ(write(input.Writer(), "address x\n", 10), 10);
        console.ReadFrom(input.Reader());
    }
    time.AdvanceBy(1'000'000);
    EXPECT_EQ(panel.Get("ip_addr", "text"), "");
}

// At a terminal that is redrawn.
class TerminalConsole : public testing::Test {
protected:
    TerminalConsole() {
        bench.Add("10.0.0.1");
        console = std::make_unique<PanelConsole>(bench.Shown(), progress, Progress::Style::Redrawn,
                                                 terminal.Writer(), [this](End end) { ends.push_back(end); });
        console->Start();
        console->ReadFrom(terminal.Writer());
        shownAtStart = terminal.Text();
    }
    std::string After(std::string_view input) {
        console->OnInput(input);
        return terminal.Text();
    }
    static bool EndsWith(const std::string& text, const std::string& end) {
        return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
    }

    fakes::VirtualTime time;
    const Terminal terminal{80, 24};
    PanelBench bench;
    Ends ends;
    Progress progress{terminal.Writer(), Progress::Style::Redrawn};
    std::unique_ptr<PanelConsole> console;
    std::string shownAtStart;
};

TEST_F(TerminalConsole, ThePromptStandsBelowThePanel) {
    EXPECT_EQ(shownAtStart.find("Source 1: 10.0.0.1\n"), 0U) << shownAtStart;
    EXPECT_TRUE(EndsWith(shownAtStart, "  Data rate\npanel 1> ")) << shownAtStart;
    EXPECT_NE(shownAtStart.find("Type \"help\" for the commands.\n"), std::string::npos);
}

TEST_F(TerminalConsole, ShowsWhatIsTyped) {
    EXPECT_TRUE(EndsWith(After("addr"), "\npanel 1> addr"));
    EXPECT_TRUE(EndsWith(After("\x7F"), "\npanel 1> add"));
    EXPECT_TRUE(EndsWith(After("\xC3"), "\npanel 1> add\xEF\xBF\xBD")) << "half a character";
}

TEST_F(TerminalConsole, ThePanelFollowsItsLabels) {
    bench.At(0).Set("state", "titl", "p_connected");
    time.AdvanceBy(PanelConsole::kLookPeriodUs);
    const std::string redrawn = terminal.Text();
    EXPECT_NE(redrawn.find("\x1b["), std::string::npos);
    EXPECT_NE(redrawn.find("  Status                Connected\n"), std::string::npos) << redrawn;
    time.AdvanceBy(10 * PanelConsole::kLookPeriodUs);
    EXPECT_EQ(terminal.Text(), "") << "nothing changed";
}

TEST_F(TerminalConsole, EnteredLinesAndAlertsScrollAwayAbove) {
    bench.At(0).glass->AddCommand("cmd_connect", [this] { bench.At(0).glass->WindowModalAlert(kAlert); });
    const std::string shown = After("connect\n");
    const std::size_t entered = shown.find("panel 1> connect\n");
    const std::size_t alert = shown.find("panel 1: Alert: Another source");
    ASSERT_NE(entered, std::string::npos) << shown;
    ASSERT_NE(alert, std::string::npos) << shown;
    EXPECT_LT(entered, alert);
    EXPECT_TRUE(EndsWith(shown, "\npanel 1> "));
}

TEST_F(TerminalConsole, ShowDrawsNoSecondPanel) {
    EXPECT_EQ(After("show\n").find("Source 1: 10.0.0.1\n  Address of the phone  []\n  [ Connect ]\n"
                                   "  Status                Not connected\n  Data rate\nSource"),
              std::string::npos);
}

TEST_F(TerminalConsole, CtrlDEndsTheInputAndTakesThePromptAway) {
    EXPECT_TRUE(EndsWith(After("\x04"), "  Data rate\n"));
    EXPECT_EQ(ends, Ends{End::Input});
    EXPECT_EQ(After("connect\n"), "") << "nothing is taken any more";
}

TEST_F(TerminalConsole, ItsEndTakesThePromptAway) {
    After("typed");
    console.reset();
    EXPECT_TRUE(EndsWith(terminal.Text(), "  Data rate\n"));
}

TEST(PanelConsoleTerminal, IsSetForKeysAndLeftAsItWas) {
    fakes::VirtualTime time;
    const Terminal terminal(80, 24);
    termios settings = terminal.Settings();
    settings.c_lflag |= ICANON | ECHO;
    terminal.Set(settings);
    PanelBench bench;
    bench.Add("10.0.0.1");
    Progress progress(terminal.Writer(), Progress::Style::Redrawn);
    const auto echoes = [&] { return (terminal.Settings().c_lflag & (ICANON | ECHO)) != 0; };
    const auto make = [&] {
        auto console = std::make_unique<PanelConsole>(bench.Shown(), progress, Progress::Style::Redrawn,
                                                      terminal.Writer(), [](End) {});
        console->Start();
        console->ReadFrom(terminal.Writer());
        return console;
    };
    auto console = make();
    EXPECT_FALSE(echoes());
    console.reset();
    EXPECT_TRUE(echoes());
    console = make();
    console->OnInput("quit\n");
    EXPECT_TRUE(echoes()) << "already with the end of the input";
}

TEST(PanelConsoleTerminal, ReadsLinesWhenOnlyTheInputIsOne) {
    fakes::VirtualTime time;
    const Terminal terminal(80, 24);
    const Pipe output;
    PanelBench bench;
    bench.Add("10.0.0.1");
    Progress progress(output.Writer(), Progress::Style::PlainLines);
    const auto before = terminal.Settings();
    PanelConsole console(bench.Shown(), progress, Progress::Style::PlainLines, output.Writer(), [](End) {});
    console.Start();
    console.ReadFrom(terminal.Writer());
    EXPECT_EQ(terminal.Settings().c_lflag, before.c_lflag) << "the terminal edits the line itself";
    output.Text();
    console.OnInput("foo\n");
    EXPECT_EQ(output.Text(), "There is no command \"foo\"; \"help\" lists them.\n");
}

}  // namespace
}  // namespace halyard
