// Bare receivers of one process: bare_receiver [--only-decode] ADDRESS..., commanded as in Commands.h.
#include <gst/gst.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "benchmarks/streams/BareReceiver.h"
#include "benchmarks/streams/Commands.h"

namespace {

constexpr std::chrono::seconds kPatience{30};

using Receivers = std::vector<std::unique_ptr<benchmarks::BareReceiver>>;

bool WaitForPictures(const Receivers& receivers) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    return std::all_of(receivers.begin(), receivers.end(), [deadline](const auto& receiver) {
        return receiver->Watch().WaitForPicture(deadline);
    });
}

}  // namespace

int main(int argc, char** argv) {
    signal(SIGPIPE, SIG_IGN);
    gst_init(nullptr, nullptr);
    using Work = benchmarks::BareReceiver::Work;
    const bool onlyDecode = argc > 1 && std::string(argv[1]) == "--only-decode";
    Receivers receivers;
    for (int index = onlyDecode ? 2 : 1; index < argc; ++index) {
        receivers.push_back(std::make_unique<benchmarks::BareReceiver>(
            argv[index], onlyDecode ? Work::OnlyDecode : Work::Convert));
    }
    if (!WaitForPictures(receivers)) {
        std::fputs("bare_receiver: not every phone gave a picture\n", stderr);
        return 1;
    }
    benchmarks::Say("{\"event\":\"ready\"}\n");
    benchmarks::Commands commands;
    commands.begin = [&receivers](bool readStamps) {
        for (const auto& receiver : receivers)
            receiver->Watch().Begin(readStamps);
    };
    commands.end = [&receivers] {
        std::vector<benchmarks::StreamWatch::Result> results;
        for (const auto& receiver : receivers)
            results.push_back(receiver->Watch().Now());
        return benchmarks::ResultLine(results);
    };
    benchmarks::ReadCommands(commands);
    // Nothing is measured any more; the system takes back what the engine holds.
    _exit(0);
}
