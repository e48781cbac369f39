#include <fcntl.h>
#include <unistd.h>

#include <iostream>

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

}  // namespace

int main(int argc, char** argv) {
    FillStandardDescriptors();
    int exitCode = 0;
    const auto options = halyard::ParseCommandLine(argc, argv, std::cout, std::cerr, exitCode);
    if (!options) return exitCode;
    halyard::SignalWatch::Block();
    const halyard::SignalWatch signals([] { halyard::App::RequestEnd(); });
    return halyard::App(*options).Run();
}
