#include "apps/halyard/Progress.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>

namespace halyard {
namespace {

std::string ReadAvailable(int descriptor) {
    fcntl(descriptor, F_SETFL, O_NONBLOCK);
    std::string text;
    char part[4096];
    for (ssize_t count = read(descriptor, part, sizeof part); count > 0;
         count = read(descriptor, part, sizeof part))
        text.append(part, static_cast<std::size_t>(count));
    return text;
}

class Pipe {
public:
    Pipe() { EXPECT_EQ(pipe(ends), 0); }
    ~Pipe() {
        close(ends[0]);
        close(ends[1]);
    }
    int Writer() const { return ends[1]; }
    std::string Text() const { return ReadAvailable(ends[0]); }

private:
    int ends[2] = {-1, -1};
};

// What is written to the terminal comes out as it is, without carriage returns of its own.
class Terminal {
public:
    Terminal(unsigned short columns, unsigned short rows) {
        winsize size{rows, columns, 0, 0};
        termios settings{};
        cfmakeraw(&settings);
        EXPECT_EQ(openpty(&controller, &terminal, nullptr, &settings, &size), 0);
    }
    ~Terminal() {
        close(controller);
        close(terminal);
    }
    int Writer() const { return terminal; }
    std::string Text() const { return ReadAvailable(controller); }

private:
    int controller = -1;
    int terminal = -1;
};

TEST(ProgressLine, TellsStateSizeRateAndLevel) {
    EXPECT_EQ(FormatProgressLine({"192.168.1.20", "live", 1280, 720, 30, -40.04, std::nullopt}),
              "192.168.1.20     live      1280x720    30.0 pictures/s   -40.0 dBFS");
    EXPECT_EQ(FormatProgressLine({"h", "waiting", 0, 0, 0, std::nullopt, 3.21}),
              "h                waiting   -            0.0 pictures/s       - dBFS    3.2 ms");
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
