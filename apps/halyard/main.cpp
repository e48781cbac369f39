#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <thread>

#include "apps/halyard/App.h"
#include "apps/halyard/Options.h"
#include "apps/halyard/SignalWatch.h"

namespace {

// The next file that is opened would take the place of one that is missing, and be read as input or written
// over as output.
void FillStandardDescriptors() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) < 0) open("/dev/null", O_RDWR);
    }
}

// Each stream has a dozen threads. With the allocator's eight arenas for every processor, what a burst leaves
// behind in one is of no use to the others, and memory grows with every further burst.
void ShareArenas() {
    mallopt(M_ARENA_MAX, static_cast<int>(std::max(2U, std::thread::hardware_concurrency())));
}

}  // namespace

int main(int argc, char** argv) {
    ShareArenas();
    FillStandardDescriptors();
    int exitCode = 0;
    const auto options = halyard::ParseCommandLine(argc, argv, std::cout, std::cerr, exitCode);
    if (!options) return exitCode;
    halyard::SignalWatch::Block();
    const halyard::SignalWatch signals([] { halyard::App::RequestEnd(); });
    return halyard::App(*options).Run();
}
