// How whoever measures talks to a receiver: lines on its standard input, JSON lines on its standard output.
//   begin          counts pictures from now on          begin stamps   reads their stamps too
//   end            prints the result so far             end of input   ends the receiver
#pragma once

#include <functional>
#include <string>

namespace benchmarks {

struct Commands {
    std::function<void(bool readStamps)> begin;
    std::function<std::string()> end;  // the line to print
};

// Reads until the end of the input.
void ReadCommands(const Commands& commands);
// One line, at once.
void Say(const std::string& line);

}  // namespace benchmarks
