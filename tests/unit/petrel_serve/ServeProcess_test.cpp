// The program as a process: it says where to go, and ends when asked to.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <regex>
#include <string>

#include "tests/e2e/host/ChildProcess.h"
#include "tests/unit/petrel_serve/TemporaryFolder.h"
#include "tests/unit/web_server/TlsClient.h"

namespace tests {
namespace {

using e2e::ChildProcess;
using testing::HasSubstr;

constexpr std::chrono::seconds kStartLimit(30);
constexpr std::chrono::seconds kEndLimit(10);

class ServeProcess : public testing::Test {
protected:
    ChildProcess Run(const std::string& state, const std::string& port = "0",
                     const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments = {
            "serve", "--address", "127.0.0.1", "--port", port, "--state", temporary.Path() / state};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return {PETREL_PROGRAM, arguments, {"DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent/bus"}};
    }
    static std::string PortOf(const ChildProcess& process) {
        std::smatch match;
        const std::string output = process.Output();
        std::regex_search(output, match, std::regex("https://127\\.0\\.0\\.1:([0-9]+)/"));
        return match.size() > 1 ? match[1].str() : std::string();
    }

    TemporaryFolder temporary;
};

TEST_F(ServeProcess, SaysWhereToGoAndEndsWithZero) {
    ChildProcess process = Run("state");
    ASSERT_TRUE(process.WaitForOutput("Fingerprint", kStartLimit)) << process.Errors();
    const std::string output = process.Output();
    EXPECT_THAT(output, HasSubstr("Phones open this page:\n  https://127.0.0.1:"));
    EXPECT_TRUE(std::regex_search(
        output, std::regex("Code for the next phone: [A-Z2-9]{4}-[A-Z2-9]{4}  https://[^ ]+/#pair=")));
    EXPECT_THAT(output, HasSubstr("Operator's page: https://127.0.0.1:"));
    EXPECT_EQ(output.find('\033'), std::string::npos);  // no picture when this is no terminal
    const auto client =
        TlsClient::Connect(static_cast<std::uint16_t>(std::stoi(PortOf(process))), Speaks::Tls, {},
                           temporary.ReadState("authority.crt"), "127.0.0.1");
    ASSERT_NE(client, nullptr);
    EXPECT_EQ(StatusOf(Ask(*client, "GET", "/api/operator")), 200);
    process.Signal(SIGTERM);
    EXPECT_EQ(process.WaitForEnd(kEndLimit), 0);
}

TEST_F(ServeProcess, EndsWithTwoWhenItsPortIsTaken) {
    ChildProcess first = Run("state");
    ASSERT_TRUE(first.WaitForOutput("Fingerprint", kStartLimit)) << first.Errors();
    ChildProcess second = Run("other", PortOf(first));
    EXPECT_EQ(second.WaitForEnd(kEndLimit), 2);
    EXPECT_THAT(second.Errors(), HasSubstr("cannot be used: Address already in use."));
}

TEST_F(ServeProcess, WritesEventsForAProgram) {
    ChildProcess first = Run("state", "0", {"--events", "--quiet"});
    ASSERT_TRUE(first.WaitForOutput("\"code\"", kStartLimit)) << first.Errors();
    ChildProcess second = Run("other", PortOf(first), {"--events"});
    EXPECT_EQ(second.WaitForEnd(kEndLimit), 2);
    EXPECT_EQ(second.Output(), R"({"event":"failed","sentence":"The address 127.0.0.1:)" + PortOf(first) +
                                   " cannot be used: Address already in use.\"}\n");
    EXPECT_THAT(second.Errors(), testing::Not(HasSubstr("Address already in use"))) << "it is told once";
    first.Signal(SIGTERM);
    EXPECT_EQ(first.WaitForEnd(kEndLimit), 0);
    std::istringstream lines(first.Output());
    std::vector<std::string> names;
    for (std::string line; std::getline(lines, line);)
        names.push_back(nlohmann::json::parse(line, nullptr, false)["event"]);
    EXPECT_THAT(names, testing::ElementsAre("ready", "code"));
}

}  // namespace
}  // namespace tests
