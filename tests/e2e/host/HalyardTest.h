// Runs of the program halyard, each with a state directory of its own.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/e2e/host/ChildProcess.h"
#include "tests/unit/host_sources/TemporaryDirectory.h"

namespace e2e {

class HalyardTest : public testing::Test {
protected:
    struct Ended {
        int exitCode = -1;
        std::string output;
        std::string errors;
        nlohmann::json report;  // null when there is none
    };

    std::filesystem::path ReportFile() const { return directory / "report.json"; }

    // With the fake plug-in, whose addresses tell what to show.
    std::vector<std::string> Fake(std::vector<std::string> arguments) const {
        const std::vector<std::string> first = {"--plugin", FAKE_PLUGIN, "--state", directory / "state"};
        arguments.insert(arguments.begin(), first.begin(), first.end());
        return arguments;
    }
    // With the plug-in that halyard finds itself.
    std::vector<std::string> Real(std::vector<std::string> arguments) const {
        const std::vector<std::string> first = {"--state", directory / "state"};
        arguments.insert(arguments.begin(), first.begin(), first.end());
        return arguments;
    }

    static std::unique_ptr<ChildProcess> Begin(const std::vector<std::string>& arguments,
                                               ChildProcess::Input input = ChildProcess::Input::Empty) {
        return std::make_unique<ChildProcess>(HALYARD_PROGRAM, arguments, std::vector<std::string>(), input);
    }

    Ended WaitForEnd(ChildProcess& process) const {
        Ended ended;
        const auto code = process.WaitForEnd(std::chrono::seconds(60));
        EXPECT_TRUE(code) << "it does not end";
        ended.exitCode = code.value_or(-1);
        ended.output = process.Output();
        ended.errors = process.Errors();
        if (std::filesystem::exists(ReportFile()))
            ended.report = nlohmann::json::parse(tests::ReadText(ReportFile()), nullptr, false);
        return ended;
    }

    Ended Run(const std::vector<std::string>& arguments) const {
        std::filesystem::remove(ReportFile());
        const auto process = Begin(arguments);
        return WaitForEnd(*process);
    }

    const tests::TemporaryDirectory directory;
};

}  // namespace e2e
