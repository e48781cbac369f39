#include <iostream>

#include "apps/halyard/App.h"
#include "apps/halyard/Options.h"
#include "apps/halyard/SignalWatch.h"

int main(int argc, char** argv) {
    int exitCode = 0;
    const auto options = halyard::ParseCommandLine(argc, argv, std::cout, std::cerr, exitCode);
    if (!options) return exitCode;
    halyard::SignalWatch::Block();
    const halyard::SignalWatch signals([] { halyard::App::RequestEnd(); });
    return halyard::App(*options).Run();
}
