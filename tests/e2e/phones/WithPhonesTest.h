// Runs of halyard that serve phones, in a network that has only the loopback interface and no Avahi daemon.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "tests/e2e/host/ChildProcess.h"
#include "tests/unit/host_sources/TemporaryDirectory.h"

namespace e2e {

inline std::string ownNetworkProblem = "the program did not enter a network of its own";

class WithPhonesTest : public testing::Test {
protected:
    static constexpr std::chrono::seconds kSoon{20};
    static constexpr std::uint16_t kPort = 9443;

    void SetUp() override {
        if (!ownNetworkProblem.empty()) FAIL() << ownNetworkProblem;
    }

    std::unique_ptr<ChildProcess> Begin(std::vector<std::string> arguments,
                                        ChildProcess::Input input = ChildProcess::Input::Empty,
                                        const std::string& program = HALYARD_PROGRAM) const {
        arguments.insert(arguments.begin(), "--with-phones");
        return std::make_unique<ChildProcess>(
            program, arguments,
            std::vector<std::string>{"XDG_STATE_HOME=" + (directory / "state").string(),
                                     "DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent/bus"},
            input);
    }
    // With the fake plug-in, whose addresses tell what to show.
    std::unique_ptr<ChildProcess> BeginFake(std::vector<std::string> arguments = {}) const {
        const std::vector<std::string> first = {"--plugin", FAKE_PLUGIN, "--source", "320x180"};
        arguments.insert(arguments.begin(), first.begin(), first.end());
        return Begin(arguments);
    }
    static testing::AssertionResult IsReady(ChildProcess& halyard) {
        if (halyard.WaitForOutput("phones: Code for the next phone: ", kSoon))
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << halyard.Output() << halyard.Errors();
    }

    // What went wrong besides the Avahi daemon, which is not there.
    static std::string Complaints(const ChildProcess& halyard) {
        std::istringstream lines(halyard.Errors());
        std::string complaints;
        for (std::string line; std::getline(lines, line);)
            if (line.find("not announced to the network") == std::string::npos) complaints += line + "\n";
        return complaints;
    }

    const tests::TemporaryDirectory directory;
};

}  // namespace e2e
