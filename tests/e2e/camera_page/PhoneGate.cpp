#include "tests/e2e/camera_page/PhoneGate.h"

#include <gtest/gtest.h>
#include <signal.h>

namespace camera_page {
namespace {

constexpr std::chrono::seconds kSoon{30};
constexpr const char* kFragment = "#pair=";

}  // namespace

void PhoneGate::Start() {
    process = std::make_unique<e2e::ChildProcess>(
        PETREL_PROGRAM, std::vector<std::string>{"serve", "--state", state.Path().string()});
    EXPECT_TRUE(process->WaitForOutput("Operator's page", kSoon)) << Log();
}

void PhoneGate::Stop() {
    process->Signal(SIGTERM);
    const auto code = process->WaitForEnd(kSoon);
    EXPECT_TRUE(code) << "it does not end";
    EXPECT_EQ(code.value_or(0), 0) << Log();
}

void PhoneGate::Kill() {
    process->Signal(SIGKILL);
    EXPECT_TRUE(process->WaitForEnd(kSoon));
}

std::string PhoneGate::PairUrl() const {
    const std::string output = process->Output();
    const std::size_t fragment = output.rfind(kFragment);
    if (fragment == std::string::npos) return {};
    const std::size_t begin = output.rfind("https://", fragment);
    return output.substr(begin, output.find_first_of(" \n", fragment) - begin);
}

std::string PhoneGate::Url() const {
    const std::string url = PairUrl();
    return url.substr(0, url.find(kFragment));
}

std::string PhoneGate::OperatorUrl() const {
    const std::string token = tests::ReadText(state / "operator.token");
    return Url() + "operator?token=" + token.substr(0, token.find('\n'));
}

std::string PhoneGate::Run(std::vector<std::string> words) const {
    words.insert(words.end(), {"--state", state.Path().string()});
    e2e::ChildProcess command(PETREL_PROGRAM, words);
    EXPECT_TRUE(command.WaitForEnd(kSoon));
    return command.Output() + command.Errors();
}

}  // namespace camera_page
