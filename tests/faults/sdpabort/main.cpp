// Hands mutated answers to live peer connections in child processes, and counts the children that break.
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <new>
#include <nlohmann/json.hpp>

#include "tests/faults/sdpabort/Trial.h"

namespace {

using sdpabort::Tally;

constexpr std::uint64_t kPerProcess = 250;
constexpr unsigned kLongestBatchSeconds = 300;

Tally* SharedTally() {
    void* memory = mmap(nullptr, sizeof(Tally), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return memory == MAP_FAILED ? nullptr : new (memory) Tally;
}

// The child's exit status, as waitpid() gives it.
int RunBatch(std::uint64_t seed, std::uint64_t end, Tally& tally) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(kLongestBatchSeconds);  // a hang is a failure, too
        sdpabort::RunTrials(seed, end, tally);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    std::uint64_t seed = 1;
    std::uint64_t first = 0;
    std::uint64_t count = 10'000;
    std::string keep = ".";
    CLI::App app("Mutated answers for live peer connections.");
    app.add_option("--seed", seed, "of the dice");
    app.add_option("--first", first, "the number of the first answer");
    app.add_option("--count", count, "how many answers");
    app.add_option("--keep", keep, "directory for the answers that break a process");
    CLI11_PARSE(app, argc, argv);

    Tally* tally = SharedTally();
    if (tally == nullptr) return 2;
    tally->current = first;
    std::uint64_t broken = 0;
    const std::uint64_t end = first + count;
    while (tally->current < end) {
        const int status = RunBatch(seed, std::min(end, tally->current + kPerProcess), *tally);
        if (WIFEXITED(status) && WEXITSTATUS(status) == 0) continue;
        ++broken;
        const auto file = std::filesystem::path(keep) / ("answer-" + std::to_string(tally->current) + ".sdp");
        std::ofstream(file, std::ios::binary) << tally->text;
        std::cerr << "number " << tally->current << " ended its process with "
                  << (WIFSIGNALED(status) ? strsignal(WTERMSIG(status)) : "an exit") << ": " << file << "\n";
        ++tally->current;
    }
    const nlohmann::ordered_json report = {{"answers", count},
                                           {"aborts", broken},
                                           {"taken", tally->taken},
                                           {"refused", tally->refused},
                                           {"withPictures", tally->withPictures},
                                           {"notSet", tally->notSet},
                                           {"unanswered", tally->unanswered},
                                           {"goodOnesRefused", tally->goodOnesRefused},
                                           {"criticals", tally->criticals}};
    std::cout << report.dump() << "\n";
    return 0;
}
