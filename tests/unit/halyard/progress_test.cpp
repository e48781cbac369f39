#include "apps/halyard/Progress.h"

#include <cstdlib>

#include "tests/unit/halyard/Terminal.h"

namespace halyard {
namespace {

ProgressLine Live() {
    ProgressLine line;
    line.address = "192.168.1.20";
    line.state = "live";
    line.width = 1280;
    line.height = 720;
    line.picturesPerSecond = 30;
    line.soundLevel = -40.04;
    return line;
}

TEST(ProgressLine, TellsStateSizeRateAndLevel) {
    EXPECT_EQ(FormatProgressLine(Live()).find(
                  "192.168.1.20     live      1280x720    30.0 pictures/s   -40.0 dBFS  "),
              0U);
    ProgressLine waiting;
    waiting.state = "waiting";
    waiting.latencyMs = 3.21;
    EXPECT_EQ(FormatProgressLine(waiting).find(
                  "-                waiting   -            0.0 pictures/s       - dBFS    3.2 ms  "),
              0U);
}

TEST(ProgressLine, EndsWithWhatThePanelSays) {
    ProgressLine line = Live();
    const std::string begin = "192.168.1.20     live      1280x720    30.0 pictures/s   -40.0 dBFS";
    EXPECT_EQ(FormatProgressLine(line), begin + "  -                  - Mbit/s");
    line.status = "Connected";
    line.megabitsPerSecond = 2.25;
    EXPECT_EQ(FormatProgressLine(line), begin + "  Connected        2.2 Mbit/s");
    line.latencyMs = 30.2;
    line.status = "Not connected";
    line.megabitsPerSecond.reset();
    EXPECT_EQ(FormatProgressLine(line), begin + "   30.2 ms  Not connected      - Mbit/s");
}

TEST(Progress, WritesPlainLinesToAPipe) {
    const Pipe pipe;
    ASSERT_EQ(Progress::StyleFor(pipe.Writer(), false), Progress::Style::PlainLines);
    Progress progress(pipe.Writer(), Progress::Style::PlainLines);
    progress.Show({"one", "two"});
    progress.Write(pipe.Writer(), "trace\n");
    progress.Show({"three"});
    EXPECT_EQ(pipe.Text(), "one\ntwo\ntrace\nthree\n");
}

TEST(Progress, RedrawsItsLinesOnATerminal) {
    const Terminal terminal(80, 24);
    Progress progress(terminal.Writer(), Progress::Style::Redrawn);
    progress.Show({"one", "two"});
    EXPECT_EQ(terminal.Text(), "one\ntwo\n");
    progress.Show({"three"});
    EXPECT_EQ(terminal.Text(), "\r\x1b[2A\x1b[Jthree\n");
}

TEST(Progress, OtherTextsOnTheTerminalComeAboveTheLines) {
    const Terminal terminal(80, 24);
    const Pipe elsewhere;
    Progress progress(terminal.Writer(), Progress::Style::Redrawn);
    progress.Write(terminal.Writer(), "early\n");
    progress.Show({"one"});
    terminal.Text();
    progress.Write(terminal.Writer(), "trace\n");
    EXPECT_EQ(terminal.Text(), "\r\x1b[1A\x1b[Jtrace\none\n");
    progress.Write(elsewhere.Writer(), "trace\n");
    EXPECT_EQ(terminal.Text(), "") << "another file does not disturb the terminal";
    EXPECT_EQ(elsewhere.Text(), "trace\n");
}

TEST(Progress, ThePanelAndThePromptStandBelowTheLines) {
    const Terminal terminal(80, 24);
    Progress progress(terminal.Writer(), Progress::Style::Redrawn);
    progress.ShowPrompt("> ");
    EXPECT_EQ(terminal.Text(), "> ");
    progress.ShowPanel({"panel"});
    EXPECT_EQ(terminal.Text(), "\r\x1b[Jpanel\n> ") << "the cursor stood in the line of the prompt";
    progress.Show({"one", "two"});
    EXPECT_EQ(terminal.Text(), "\r\x1b[1A\x1b[Jone\ntwo\npanel\n> ");
    progress.ShowPrompt("> typed");
    EXPECT_EQ(terminal.Text(), "\r\x1b[3A\x1b[Jone\ntwo\npanel\n> typed");
    progress.Write(terminal.Writer(), "trace\n");
    EXPECT_EQ(terminal.Text(), "\r\x1b[3A\x1b[Jtrace\none\ntwo\npanel\n> typed");
    progress.ShowPrompt(std::nullopt);
    EXPECT_EQ(terminal.Text(), "\r\x1b[3A\x1b[Jone\ntwo\npanel\n");
}

TEST(Progress, ThePanelAndThePromptAreForTerminalsOnly) {
    const Pipe pipe;
    Progress progress(pipe.Writer(), Progress::Style::PlainLines);
    progress.ShowPanel({"panel"});
    progress.ShowPrompt("> ");
    progress.Write(pipe.Writer(), "text\n");
    EXPECT_EQ(pipe.Text(), "text\n");
}

TEST(Progress, ThePanelHasRoomBeforeTheLines) {
    const Terminal terminal(8, 4);
    Progress progress(terminal.Writer(), Progress::Style::Redrawn);
    progress.ShowPanel({"p1", "p2"});
    progress.ShowPrompt("> 1234567890");
    terminal.Text();
    progress.Show({"one", "two"});
    EXPECT_EQ(terminal.Text(), "\r\x1b[2A\x1b[Jone\np1\np2\n4567890");
    progress.ShowPanel({"p1", "p2", "p3", "p4"});
    EXPECT_EQ(terminal.Text(), "\r\x1b[3A\x1b[Jp1\np2\np3\n4567890");
}

TEST(Progress, KeepsToTheSizeOfTheTerminal) {
    const Terminal terminal(8, 3);
    Progress progress(terminal.Writer(), Progress::Style::Redrawn);
    progress.Show({"12345678", "\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9", "hidden"});
    EXPECT_EQ(terminal.Text(), "1234567\n\xC3\xA9\xC3\xA9\xC3\xA9\n");
}

TEST(Progress, WritesNothingWhenQuiet) {
    const Pipe pipe;
    EXPECT_EQ(Progress::StyleFor(pipe.Writer(), true), Progress::Style::None);
    Progress progress(pipe.Writer(), Progress::Style::None);
    progress.Show({"one"});
    EXPECT_EQ(pipe.Text(), "");
}

TEST(Progress, ADumbTerminalGetsPlainLines) {
    const Terminal terminal(80, 24);
    setenv("TERM", "dumb", 1);
    EXPECT_EQ(Progress::StyleFor(terminal.Writer(), false), Progress::Style::PlainLines);
    setenv("TERM", "xterm", 1);
    EXPECT_EQ(Progress::StyleFor(terminal.Writer(), false), Progress::Style::Redrawn);
}

}  // namespace
}  // namespace halyard
