#include "apps/halyard/TerminalMode.h"

#include "tests/unit/halyard/Terminal.h"

namespace halyard {
namespace {

class TerminalModeTest : public testing::Test {
protected:
    TerminalModeTest() {
        termios settings = terminal.Settings();
        settings.c_lflag |= ICANON | ECHO | ISIG;
        terminal.Set(settings);
    }
    bool Has(tcflag_t flags) const { return (terminal.Settings().c_lflag & flags) == flags; }
    bool HasNone(tcflag_t flags) const { return (terminal.Settings().c_lflag & flags) == 0; }

    const Terminal terminal{80, 24};
};

TEST_F(TerminalModeTest, HandsOverEveryKeyWithoutEchoAndKeepsSignals) {
    const TerminalMode mode(terminal.Writer());
    EXPECT_TRUE(HasNone(ICANON | ECHO));
    EXPECT_TRUE(Has(ISIG));
    EXPECT_EQ(terminal.Settings().c_cc[VMIN], 1);
}

TEST_F(TerminalModeTest, LeavesTheTerminalAsItWas) {
    { const TerminalMode mode(terminal.Writer()); }
    EXPECT_TRUE(Has(ICANON | ECHO | ISIG));
}

TEST_F(TerminalModeTest, CanBeUndoneBeforeItsEnd) {
    const TerminalMode mode(terminal.Writer());
    TerminalMode::RestoreNow();
    EXPECT_TRUE(Has(ICANON | ECHO | ISIG));
    TerminalMode::RestoreNow();
}

TEST_F(TerminalModeTest, IsHarmlessWhereThereIsNoTerminal) {
    const Pipe pipe;
    { const TerminalMode mode(pipe.Reader()); }
    TerminalMode::RestoreNow();
}

}  // namespace
}  // namespace halyard
