#include "benchmarks/streams/Commands.h"

#include <cstdio>
#include <iostream>

namespace benchmarks {

void ReadCommands(const Commands& commands) {
    for (std::string line; std::getline(std::cin, line);) {
        if (line == "begin") commands.begin(false);
        if (line == "begin stamps") commands.begin(true);
        if (line == "end") Say(commands.end());
    }
}

void Say(const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fflush(stdout);
}

}  // namespace benchmarks
