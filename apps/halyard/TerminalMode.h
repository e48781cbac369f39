// While it lives, a terminal hands over every key at once and echoes none; Ctrl-C and its like work as ever.
#pragma once

namespace halyard {

class TerminalMode {
public:
    // One at a time. Does nothing when the descriptor is no terminal.
    explicit TerminalMode(int terminalDescriptor);
    TerminalMode(const TerminalMode&) = delete;
    TerminalMode& operator=(const TerminalMode&) = delete;
    ~TerminalMode();

    // [any-thread] For a process that ends without destroying anything: leaves the terminal as it was found.
    static void RestoreNow();
};

}  // namespace halyard
