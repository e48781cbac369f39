// A pair of pseudo terminals and a pipe whose output can be read back.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <string>

namespace halyard {

inline std::string ReadAvailable(int descriptor) {
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
    Pipe() { EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0); }
    ~Pipe() {
        close(ends[0]);
        close(ends[1]);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    int Reader() const { return ends[0]; }
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
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    // The program's side.
    int Writer() const { return terminal; }
    termios Settings() const {
        termios settings{};
        EXPECT_EQ(tcgetattr(terminal, &settings), 0);
        return settings;
    }
    void Set(const termios& settings) const { EXPECT_EQ(tcsetattr(terminal, TCSANOW, &settings), 0); }
    std::string Text() const { return ReadAvailable(controller); }

private:
    int controller = -1;
    int terminal = -1;
};

}  // namespace halyard
