#include "tests/e2e/discovery/DiscoveryTest.h"

#include <signal.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "tests/e2e/discovery/OwnNamespace.h"

namespace e2e {
namespace {

std::vector<std::string> Lines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line + " ");
    return lines;
}

// Each round of progress lines begins with its number: "12 s  ".
int LastSecond(const std::string& output) {
    int last = 0;
    for (const std::string& line : Lines(output))
        last = std::max(last, std::atoi(line.c_str()));
    return last;
}

}  // namespace

void DiscoveryTest::SetUp() {
    if (!NamespaceProblem().empty()) FAIL() << NamespaceProblem();
    host = std::make_unique<Machine>("studio");
    phones = std::make_unique<Machine>("pockets");
    Machine::Connect(*host, {kHostAddress}, *phones, {kPhoneAddress, kOtherPhoneAddress});
    host->StartBus();
    phones->StartBus();
}

std::unique_ptr<ChildProcess> DiscoveryTest::StartPhone(const Machine& machine, const std::string& address,
                                                        std::vector<std::string> arguments) {
    const std::vector<std::string> first = {"simulate", "--listen", address, "--size",
                                            "320x180",  "--fps",    "15"};
    arguments.insert(arguments.begin(), first.begin(), first.end());
    std::unique_ptr<ChildProcess> phone = machine.Run(PETREL_PROGRAM, arguments);
    EXPECT_TRUE(phone->WaitForOutput("listening", kSoon)) << phone->Errors();
    return phone;
}

std::unique_ptr<ChildProcess> DiscoveryTest::StartHost(std::vector<std::string> arguments) const {
    const std::vector<std::string> first = {"--state", directory / "state", "--report", directory / "report",
                                            "--trace", directory / "trace"};
    arguments.insert(arguments.begin(), first.begin(), first.end());
    return host->Run(HALYARD_PROGRAM, arguments);
}

nlohmann::json DiscoveryTest::End(ChildProcess& halyard, int expectedExitCode) const {
    halyard.Signal(SIGTERM);
    EXPECT_EQ(halyard.WaitForEnd(kSoon), expectedExitCode) << halyard.Output() << halyard.Errors();
    return nlohmann::json::parse(tests::ReadText(directory / "report"), nullptr, false);
}

std::string DiscoveryTest::Trace() const {
    return tests::ReadText(directory / "trace");
}

testing::AssertionResult Shows(ChildProcess& halyard, const std::string& address, const std::string& state,
                               std::size_t mark) {
    const auto isShown = [&](const std::string& output) {
        const std::vector<std::string> lines = Lines(output.substr(mark));
        return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
            return line.find(" " + address + " ") != std::string::npos &&
                   line.find(" " + state + " ") != std::string::npos;
        });
    };
    if (halyard.WaitUntilOutput(isShown, kSoon)) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "no line shows " << address << " " << state << ":\n"
                                       << halyard.Output() << halyard.Errors();
}

void PassSeconds(ChildProcess& halyard, int count) {
    const int end = LastSecond(halyard.Output()) + count;
    EXPECT_TRUE(
        halyard.WaitUntilOutput([end](const std::string& output) { return LastSecond(output) >= end; },
                                std::chrono::seconds(count) + kSoon))
        << halyard.Output();
}

std::size_t Occurrences(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
        ++count;
    return count;
}

}  // namespace e2e
