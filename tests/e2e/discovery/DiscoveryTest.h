// Two machines with a cable between them: on one the host, on the other the phones.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/e2e/discovery/Machine.h"

namespace e2e {

constexpr const char* kHostAddress = "10.77.0.1";
constexpr const char* kPhoneAddress = "10.77.0.2";
constexpr const char* kOtherPhoneAddress = "10.77.0.3";

constexpr std::chrono::seconds kSoon{30};

class DiscoveryTest : public testing::Test {
protected:
    void SetUp() override;

    // `petrel simulate` with a small picture; returns once it listens.
    static std::unique_ptr<ChildProcess> StartPhone(const Machine& machine, const std::string& address,
                                                    std::vector<std::string> arguments = {});
    // `halyard` with a report and a trace.
    std::unique_ptr<ChildProcess> StartHost(std::vector<std::string> arguments) const;
    // Ends the host and reads its report.
    nlohmann::json End(ChildProcess& halyard, int expectedExitCode) const;
    std::string Trace() const;

    std::unique_ptr<Machine> host;
    std::unique_ptr<Machine> phones;

private:
    const tests::TemporaryDirectory directory;
};

// Waits for a line of the progress display that tells of this state for this address. With `mark`, only what
// was written after so many bytes counts.
testing::AssertionResult Shows(ChildProcess& halyard, const std::string& address, const std::string& state,
                               std::size_t mark = 0);
// Waits until the progress display has told of so many more seconds.
void PassSeconds(ChildProcess& halyard, int count);

std::size_t Occurrences(const std::string& text, const std::string& part);

}  // namespace e2e
