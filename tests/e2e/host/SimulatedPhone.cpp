#include "tests/e2e/host/SimulatedPhone.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <utility>

namespace e2e {
namespace {

std::vector<std::string> CommandLine(const std::string& address, std::vector<std::string> arguments) {
    const std::vector<std::string> first = {"simulate", "--listen", address};
    arguments.insert(arguments.begin(), first.begin(), first.end());
    return arguments;
}

}  // namespace

SimulatedPhone::SimulatedPhone(std::string listenAddress, std::vector<std::string> arguments)
    : address(std::move(listenAddress)), words(CommandLine(address, std::move(arguments))) {
    Start();
}

void SimulatedPhone::Start() {
    process = std::make_unique<ChildProcess>(PETREL_PROGRAM, words);
    EXPECT_TRUE(process->WaitForOutput("listening", std::chrono::seconds(30))) << process->Errors();
}

void SimulatedPhone::Kill() {
    process->Signal(SIGKILL);
    EXPECT_TRUE(process->WaitForEnd(std::chrono::seconds(20)));
}

}  // namespace e2e
