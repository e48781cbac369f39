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
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/faults/sdpabort/Trial.h"

namespace {

using sdpabort::Tally;

constexpr std::uint64_t kPerProcess = 250;
constexpr unsigned kLongestBatchSeconds = 300;

Tally* MapTally(int descriptor) {
    void* memory = mmap(nullptr, sizeof(Tally), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    return memory == MAP_FAILED ? nullptr : static_cast<Tally*>(memory);
}

// The status of the process, as waitpid() gives it. It is a program begun anew: the library starts threads
// when it is loaded, and a mere copy of this process would be without them.
int RunBatch(std::uint64_t seed, std::uint64_t end, int descriptor) {
    const std::vector<std::string> words = {
        "faults_sdpabort",   "--seed",  std::to_string(seed),      "--until",
        std::to_string(end), "--tally", std::to_string(descriptor)};
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        alarm(kLongestBatchSeconds);  // a hang is a failure, too
        execv("/proc/self/exe", arguments.data());
        _exit(127);
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
    std::uint64_t until = 0;
    int descriptor = -1;
    app.add_option("--until", until, "in a process of the program's own: where to stop");
    app.add_option("--tally", descriptor, "in a process of the program's own: where to count");
    CLI11_PARSE(app, argc, argv);

    const bool isBatch = descriptor >= 0;
    if (!isBatch) {
        descriptor = memfd_create("tally", 0);
        if (ftruncate(descriptor, sizeof(Tally)) != 0) return 2;
    }
    Tally* tally = MapTally(descriptor);
    if (tally == nullptr) return 2;
    if (isBatch) {
        sdpabort::RunTrials(seed, until, *tally);
        _exit(0);
    }
    tally->current = first;
    std::uint64_t broken = 0;
    const std::uint64_t end = first + count;
    while (tally->current < end) {
        const int status = RunBatch(seed, std::min(end, tally->current + kPerProcess), descriptor);
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
