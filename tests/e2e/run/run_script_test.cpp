// The script ./run in a tree that is built: quick, passes on options and signals, leaves nothing behind.
#include <gtest/gtest.h>

#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/e2e/host/ChildProcess.h"
#include "tests/unit/host_sources/TemporaryDirectory.h"

namespace e2e {
namespace {

using std::chrono::seconds;

// Watches one process, ours or not, until it ends.
class Watched {
public:
    explicit Watched(pid_t id) : descriptor(static_cast<int>(syscall(SYS_pidfd_open, id, 0))) {}
    Watched(Watched&& other) noexcept : descriptor(std::exchange(other.descriptor, -1)) {}
    ~Watched() {
        if (descriptor >= 0) close(descriptor);
    }

    bool EndsWithin(seconds limit) const {
        pollfd waited{descriptor, POLLIN, 0};
        return poll(&waited, 1, static_cast<int>(limit.count() * 1000)) == 1;
    }

private:
    int descriptor;
};

// Its children, and theirs.
std::vector<Watched> DescendantsOf(pid_t id) {
    const std::string process = "/proc/" + std::to_string(id);
    std::ifstream children(process + "/task/" + std::to_string(id) + "/children");
    std::vector<Watched> watched;
    for (pid_t child = 0; children >> child;) {
        watched.emplace_back(child);
        for (Watched& grandchild : DescendantsOf(child))
            watched.push_back(std::move(grandchild));
    }
    return watched;
}

class RunScript : public testing::Test {
protected:
    ChildProcess Run(const std::vector<std::string>& arguments) const {
        return ChildProcess(RUN_SCRIPT, arguments, {"XDG_STATE_HOME=" + (directory / "state").string()});
    }
    // In a network of its own, since it serves phones on every address. `before` is run by bash there.
    ChildProcess RunWithoutOptions(const std::string& before = "true") const {
        const std::string command = "ip link set lo up && " + before + " && exec " RUN_SCRIPT;
        return ChildProcess("/usr/bin/unshare", {"--map-root-user", "--net", "/bin/bash", "-c", command},
                            Surroundings());
    }
    std::vector<std::string> Surroundings() const {
        return {"XDG_STATE_HOME=" + (directory / "state").string(),
                "PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"};
    }
    nlohmann::json Report() const {
        return nlohmann::json::parse(tests::ReadText(directory / "report"), nullptr, false);
    }

    const tests::TemporaryDirectory directory;
};

TEST_F(RunScript, StartsWithinTwoSecondsOnceBuilt) {
    ChildProcess run = RunWithoutOptions();
    EXPECT_TRUE(run.WaitForOutput("Starting a simulated phone", seconds(2)));
    EXPECT_EQ(run.Output().find("Building"), std::string::npos) << "there is nothing to build";
}

TEST_F(RunScript, WithoutOptionsAPhoneOfOnesOwnIsOneScanAway) {
    ChildProcess run = RunWithoutOptions();
    EXPECT_TRUE(run.WaitForOutput("phones: Phones open this page: https://127.0.0.1:9443/\n", seconds(10)));
    EXPECT_TRUE(run.WaitForOutput("  https://127.0.0.1:9443/#pair=", seconds(10))) << run.Errors();
    EXPECT_TRUE(run.WaitForOutput("127.0.0.2        live", seconds(15))) << run.Errors();
    EXPECT_EQ(run.Errors().find("The server"), std::string::npos) << run.Errors();
}

TEST_F(RunScript, APortThatIsTakenIsToldAndTheSimulatedPhoneRunsOn) {
    const std::string other = "{ setpriv --pdeathsig KILL " PETREL_PROGRAM " serve --quiet --state " +
                              (directory / "other").string() +
                              " & } && until (exec 3<>/dev/tcp/127.0.0.1/9443) 2>/dev/null; do :; done";
    ChildProcess run = RunWithoutOptions(other);
    EXPECT_TRUE(
        run.WaitForOutput("phones: The server cannot start: The address 0.0.0.0:9443 cannot be used: "
                          "Address already in use.\n",
                          seconds(15)))
        << run.Errors();
    EXPECT_TRUE(run.WaitForOutput("127.0.0.2        live", seconds(15))) << run.Errors();
}

TEST_F(RunScript, PassesOptionsOnAndShowsThePhone) {
    ChildProcess run = Run({"--duration", "5", "--probe", "--report", directory / "report"});
    EXPECT_EQ(run.WaitForEnd(seconds(30)), 0) << run.Errors();
    const nlohmann::json source = Report()["sources"][0];
    EXPECT_EQ(source["connected"], true);
    EXPECT_EQ(source["width"], 1280);
    EXPECT_TRUE(source.contains("latencyMs"));
}

TEST_F(RunScript, PassesItsInputOnToThePanel) {
    ChildProcess run(RUN_SCRIPT, {"--panel"}, {"XDG_STATE_HOME=" + (directory / "state").string()},
                     ChildProcess::Input::Pipe);
    EXPECT_TRUE(run.WaitForOutput("Source 1: 127.0.0.2", std::chrono::seconds(20))) << run.Errors();
    run.Write("nonsense\nquit\n");
    EXPECT_TRUE(run.WaitForEnd(std::chrono::seconds(20)));
    EXPECT_NE(run.Output().find("There is no command \"nonsense\""), std::string::npos) << run.Output();
}

TEST_F(RunScript, NeedsNoInput) {
    ChildProcess run(RUN_SCRIPT, {"--duration", "1.5"}, {"XDG_STATE_HOME=" + (directory / "state").string()},
                     ChildProcess::Input::Closed);
    EXPECT_TRUE(run.WaitForEnd(std::chrono::seconds(20)));
    EXPECT_NE(run.Output().find("1 s  127.0.0.2"), std::string::npos) << run.Output() << run.Errors();
    EXPECT_EQ(run.Output().find("phones: "), std::string::npos) << "there was an option";
}

TEST_F(RunScript, NeedsNoNetworkOnceBuilt) {
    const std::string command = "ip link set lo up && exec " RUN_SCRIPT " --duration 5 --quiet --report " +
                                (directory / "report").string();
    ChildProcess run("/usr/bin/unshare", {"--map-root-user", "--net", "/bin/sh", "-c", command},
                     Surroundings());
    EXPECT_EQ(run.WaitForEnd(seconds(30)), 0) << run.Errors();
    EXPECT_EQ(Report()["sources"][0]["connected"], true);
}

TEST_F(RunScript, SignalEndsItCleanlyAndNothingOutlivesIt) {
    for (const int signal : {SIGINT, SIGTERM}) {
        ChildProcess run = Run({"--report", directory / "report"});
        ASSERT_TRUE(run.WaitForOutput("pictures/s   -", seconds(15))) << "no sound level: " << run.Errors();
        const std::vector<Watched> children = DescendantsOf(run.Id());
        EXPECT_EQ(children.size(), 2U) << "the phone and the host";
        run.Signal(signal);
        EXPECT_EQ(run.WaitForEnd(seconds(10)), 0) << run.Errors();
        EXPECT_EQ(Report()["sources"][0]["connected"], true) << "the report is written all the same";
        for (const Watched& child : children)
            EXPECT_TRUE(child.EndsWithin(seconds(0)));
    }
}

TEST_F(RunScript, NothingOutlivesItWhenItIsKilled) {
    ChildProcess run = RunWithoutOptions();
    ASSERT_TRUE(run.WaitForOutput("phones: Code for ", seconds(15))) << run.Errors();
    ASSERT_TRUE(run.WaitForOutput(" live ", seconds(15))) << run.Errors();
    const std::vector<Watched> children = DescendantsOf(run.Id());
    EXPECT_EQ(children.size(), 3U) << "the simulated phone, the host and its server";
    run.Signal(SIGKILL);
    for (const Watched& child : children)
        EXPECT_TRUE(child.EndsWithin(seconds(10)));
}

// What it starts would keep its output open, and the end of each round waits for that.
TEST_F(RunScript, NothingOutlivesItWhenItIsKilledWhileItStarts) {
    for (int round = 0; round < 20; ++round) {
        ChildProcess run = RunWithoutOptions();
        ASSERT_TRUE(run.WaitForOutput("Starting a simulated phone", seconds(10))) << run.Errors();
        run.Signal(SIGKILL);
    }
}

TEST_F(RunScript, AnExplicitSourceStartsNoPhone) {
    ChildProcess run = Run({"--source", "127.0.99.2", "--duration", "1", "--report", directory / "report"});
    EXPECT_EQ(run.WaitForEnd(seconds(10)), 1) << "nobody answers there";
    EXPECT_EQ(run.Output().find("simulated phone"), std::string::npos);
    EXPECT_EQ(Report()["sources"][0]["address"], "127.0.99.2");
}

TEST_F(RunScript, BadUsageEndsWithTwo) {
    ChildProcess run = Run({"--nonsense"});
    EXPECT_EQ(run.WaitForEnd(seconds(10)), 2);
    EXPECT_NE(run.Errors().find("--nonsense"), std::string::npos);
}

}  // namespace
}  // namespace e2e
