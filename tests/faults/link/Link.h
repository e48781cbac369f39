// The link: two devices and a queue for each direction, driven by one loop, with commands in lines on
// standard input.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "tests/faults/link/LinkQueue.h"
#include "tests/faults/link/TunDevice.h"

namespace faults {

class Link {
public:
    Link(std::unique_ptr<TunDevice> a, std::unique_ptr<TunDevice> b, std::uint64_t seed);

    // Until standard input ends. Each command is answered with a line: "ok", what was counted, or "bad: ..."
    // with the command. A command of Conditions holds for both directions, or behind "a" or "b" for what that
    // end sends.
    void Run();

private:
    struct End {
        std::unique_ptr<TunDevice> device;
        LinkQueue sent;  // what this end sends to the other one
    };

    void MovePackets();
    bool ReadCommands();  // false at the end of the input
    std::string Obey(const std::string& line);
    std::string CountsText() const;

    std::array<End, 2> ends;
    std::string input;
    std::int64_t refused = 0;  // by the kernel
};

}  // namespace faults
