// One command that serves phones and shows them, and what becomes of the server when either of the two ends.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/e2e/phones/PhonePage.h"
#include "tests/e2e/phones/WithPhonesTest.h"

namespace e2e {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// The only child of a process, or -1.
pid_t ChildOf(pid_t process) {
    const std::string id = std::to_string(process);
    std::ifstream children("/proc/" + id + "/task/" + id + "/children");
    pid_t child = -1;
    children >> child;
    return children ? child : -1;
}

class Watched {
public:
    explicit Watched(pid_t process) : descriptor(static_cast<int>(syscall(SYS_pidfd_open, process, 0))) {}
    ~Watched() { close(descriptor); }
    Watched(const Watched&) = delete;
    Watched& operator=(const Watched&) = delete;
    bool EndsWithin(std::chrono::seconds limit) const {
        pollfd watched{descriptor, POLLIN, 0};
        return poll(&watched, 1, static_cast<int>(limit.count() * 1000)) == 1;
    }

private:
    int descriptor;
};

class Listener {
public:
    explicit Listener(std::uint16_t port) : descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        const int yes = 1;
        setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        EXPECT_EQ(bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(listen(descriptor, 1), 0);
    }
    ~Listener() { close(descriptor); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

private:
    int descriptor;
};

// A round of progress lines that is not there yet.
bool GoesOn(ChildProcess& halyard, const std::string& text = " live ") {
    const std::size_t mark = halyard.Output().size();
    return halyard.WaitUntilOutput(
        [mark, text](const std::string& output) { return output.find(text, mark) != std::string::npos; },
        std::chrono::seconds(20));
}

std::string FingerprintIn(const std::string& sdp) {
    const std::string key = "a=fingerprint:";
    const std::size_t begin = sdp.find(key);
    if (begin == std::string::npos) return {};
    return sdp.substr(begin + key.size(), sdp.find('\r', begin) - begin - key.size());
}

TEST_F(WithPhonesTest, APhoneThatPairsIsDialledWithoutAnythingTyped) {
    const auto halyard = Begin({"--trace", directory / "trace"});
    ASSERT_TRUE(IsReady(*halyard));
    EXPECT_THAT(halyard->Output(), HasSubstr("phones: Phones open this page: https://127.0.0.1:9443/\n"));
    EXPECT_THAT(halyard->Output(), HasSubstr("phones: Operator's page: https://127.0.0.1:9443/operator\n"));
    PhonePage page(kPort, "Anna");
    page.Open();
    EXPECT_TRUE(page.Hears("viewer")) << halyard->Output();
    EXPECT_TRUE(page.Hears("offer")) << halyard->Output();
    EXPECT_TRUE(halyard->WaitForOutput("phones: \"Anna\" is open, at 127.0.1.1\n", kSoon));
    EXPECT_TRUE(halyard->WaitForOutput(" s  127.0.1.1:9001", kSoon)) << halyard->Output();
    page.Close();
    EXPECT_TRUE(halyard->WaitForOutput("phones: \"Anna\" is closed, at 127.0.1.1\n", kSoon));
    halyard->Signal(SIGTERM);
    EXPECT_EQ(halyard->WaitForEnd(kSoon), 1) << "no picture came";
    EXPECT_EQ(Complaints(*halyard), "");
}

TEST_F(WithPhonesTest, ANewNameInterruptsNothing) {
    const auto halyard = Begin({"--trace", directory / "trace"});
    ASSERT_TRUE(IsReady(*halyard));
    PhonePage page(kPort, "Anna");
    page.Open();
    ASSERT_TRUE(page.Hears("offer")) << halyard->Output();
    page.Post("/api/name", {{"name", "Berta"}});
    EXPECT_TRUE(halyard->WaitForOutput("phones: \"Berta\" is open, at 127.0.1.1\n", kSoon));
    EXPECT_TRUE(GoesOn(*halyard, "127.0.1.1:9001"));
    EXPECT_TRUE(GoesOn(*halyard, "127.0.1.1:9001"));
    halyard->Signal(SIGTERM);
    const std::string heard = page.HeardBefore("closing");
    EXPECT_THAT(heard, HasSubstr("event: closing\n"));
    for (const char* event : {"event: offer", "event: gone", "event: viewer"})
        EXPECT_THAT(heard, Not(HasSubstr(event)));
}

// The server knows a host by it that dials again.
TEST_F(WithPhonesTest, AllOffersOfOneHostHaveOneFingerprint) {
    const auto halyard = Begin({"--trace", directory / "trace"});
    ASSERT_TRUE(IsReady(*halyard));
    PhonePage page(kPort, "Anna");
    page.Open();
    ASSERT_TRUE(page.Hears("offer")) << halyard->Output();
    const nlohmann::json first = page.Data();
    page.Post("/api/renew", {{"viewer", first["viewer"]}});
    ASSERT_TRUE(page.Hears("offer")) << halyard->Output();
    const std::string fingerprint = FingerprintIn(first["sdp"]);
    EXPECT_THAT(fingerprint, StartsWith("sha-256 "));
    EXPECT_EQ(FingerprintIn(page.Data()["sdp"]), fingerprint);
}

TEST_F(WithPhonesTest, APhoneFromLastTimeIsOneSourceAgain) {
    const auto begin = [this] {
        auto halyard = Begin({"--trace", directory / "trace"});
        EXPECT_TRUE(IsReady(*halyard));
        return halyard;
    };
    auto halyard = begin();
    PhonePage page(kPort, "Anna");
    page.Open();
    EXPECT_TRUE(page.Hears("offer"));
    halyard->Signal(SIGTERM);
    EXPECT_TRUE(page.Hears("closing")) << "the server takes its leave";
    halyard->WaitForEnd(kSoon);
    halyard = begin();
    page.Open();
    EXPECT_TRUE(page.Hears("offer"));
    ASSERT_TRUE(halyard->WaitForOutput("2 s  ", kSoon));
    EXPECT_EQ(halyard->Output().find("1 s  127.0.1.1"), halyard->Output().rfind("1 s  127.0.1.1"));
    EXPECT_NE(halyard->Output().find("1 s  127.0.1.1"), std::string::npos) << halyard->Output();
}

TEST_F(WithPhonesTest, TheServerEndsWithTheHost) {
    for (const int signal : {SIGTERM, SIGINT, SIGKILL}) {
        const auto halyard = BeginFake();
        ASSERT_TRUE(IsReady(*halyard));
        const Watched server(ChildOf(halyard->Id()));
        halyard->Signal(signal);
        EXPECT_EQ(halyard->WaitForEnd(kSoon), signal == SIGKILL ? 128 + SIGKILL : 0) << halyard->Errors();
        EXPECT_TRUE(server.EndsWithin(signal == SIGKILL ? kSoon : std::chrono::seconds(0))) << signal;
        EXPECT_EQ(Complaints(*halyard), "") << "an end that was asked for is no loss";
    }
}

TEST_F(WithPhonesTest, TheServerEndsWhenTheOperatorQuits) {
    const auto halyard =
        Begin({"--plugin", FAKE_PLUGIN, "--source", "320x180", "--panel"}, ChildProcess::Input::Pipe);
    ASSERT_TRUE(IsReady(*halyard));
    const Watched server(ChildOf(halyard->Id()));
    halyard->Write("quit\n");
    EXPECT_TRUE(halyard->WaitForEnd(kSoon));
    EXPECT_TRUE(server.EndsWithin(std::chrono::seconds(0)));
}

TEST_F(WithPhonesTest, APortThatIsTakenIsToldAndTheRestGoesOn) {
    const Listener taken(kPort);
    const auto halyard = BeginFake();
    EXPECT_TRUE(halyard->WaitForOutput("phones: The server cannot start: ", kSoon)) << halyard->Errors();
    EXPECT_TRUE(GoesOn(*halyard));
    halyard->Signal(SIGTERM);
    EXPECT_EQ(halyard->WaitForEnd(kSoon), 0);
    EXPECT_THAT(halyard->Errors(), HasSubstr(":9443 cannot be used: Address already in use."));
    EXPECT_THAT(halyard->Errors(), Not(HasSubstr("has ended")));
}

TEST_F(WithPhonesTest, AnotherPortMayBeTaken) {
    const Listener taken(kPort);
    const auto halyard =
        BeginFake({"--phones-port", "9444", "--phones-bind", "127.0.9.1", "--phones-name", "Hall"});
    ASSERT_TRUE(IsReady(*halyard)) << halyard->Errors();
    EXPECT_THAT(halyard->Output(), HasSubstr("https://127.0.0.1:9444/"));
    PhonePage page(9444, "Anna");
    page.Open();
    EXPECT_TRUE(halyard->WaitForOutput("phones: \"Anna\" is open, at 127.0.9.1\n", kSoon));
    const auto client = tests::TlsClient::Connect(9444);
    const auto shown =
        nlohmann::json::parse(tests::BodyOf(tests::Ask(*client, "GET", "/api/operator")), nullptr, false);
    EXPECT_EQ(shown["server"], "Hall");
}

TEST_F(WithPhonesTest, AServerThatDiesIsToldAndTheRestGoesOn) {
    const auto halyard = BeginFake();
    ASSERT_TRUE(IsReady(*halyard));
    kill(ChildOf(halyard->Id()), SIGKILL);
    EXPECT_TRUE(halyard->WaitForOutput("phones: The server has ended (SIGKILL)", kSoon)) << halyard->Errors();
    EXPECT_TRUE(GoesOn(*halyard));
    halyard->Signal(SIGTERM);
    EXPECT_EQ(halyard->WaitForEnd(kSoon), 0);
}

TEST_F(WithPhonesTest, TheReportOnStandardOutputStandsAlone) {
    const auto halyard = BeginFake({"--report", "-"});
    ASSERT_TRUE(IsReady(*halyard));
    halyard->Signal(SIGTERM);
    EXPECT_EQ(halyard->WaitForEnd(kSoon), 0);
    EXPECT_TRUE(nlohmann::json::parse(halyard->Output(), nullptr, false).is_object()) << halyard->Output();
    EXPECT_THAT(halyard->Errors(), HasSubstr("phones: Operator's page: "));
}

TEST_F(WithPhonesTest, QuietSaysOnlyWhatGoesWrong) {
    const auto halyard = BeginFake({"--quiet"});
    std::unique_ptr<tests::TlsClient> server;
    const auto deadline = std::chrono::steady_clock::now() + kSoon;
    while (!server && std::chrono::steady_clock::now() < deadline)
        server = tests::TlsClient::Connect(kPort);
    ASSERT_NE(server, nullptr);
    halyard->Signal(SIGTERM);
    EXPECT_EQ(halyard->WaitForEnd(kSoon), 0);
    EXPECT_EQ(halyard->Output() + Complaints(*halyard), "");
}

TEST_F(WithPhonesTest, AHostWithoutItsServerSaysSo) {
    // Its libraries are found beside its folder.
    const std::filesystem::path build = std::filesystem::path(HALYARD_PROGRAM).parent_path().parent_path();
    std::filesystem::create_directory_symlink(build / "lib", directory / "lib");
    std::filesystem::create_directory(directory / "bin");
    const std::string lonely = directory / "bin/halyard";
    std::filesystem::copy_file(HALYARD_PROGRAM, lonely);
    const std::string sentence = "phones: The server cannot start: " + (directory / "bin/petrel").string() +
                                 " cannot be run (No such file or directory).\n";
    const auto halyard =
        Begin({"--plugin", FAKE_PLUGIN, "--source", "320x180"}, ChildProcess::Input::Empty, lonely);
    EXPECT_TRUE(halyard->WaitForOutput(sentence, kSoon)) << halyard->Errors();
    EXPECT_TRUE(GoesOn(*halyard));
    halyard->Signal(SIGTERM);
    EXPECT_EQ(halyard->WaitForEnd(kSoon), 0);

    const auto useless =
        Begin({"--plugin", FAKE_PLUGIN, "--state", directory / "empty"}, ChildProcess::Input::Empty, lonely);
    EXPECT_EQ(useless->WaitForEnd(kSoon), 2) << "there is nothing to show, and never will be";
    EXPECT_EQ(useless->Errors(), sentence);
}

}  // namespace
}  // namespace e2e
