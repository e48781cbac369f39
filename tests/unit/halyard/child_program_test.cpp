#include "apps/halyard/ChildProgram.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include "host/core/zThread.h"
#include "host_runtime/core/MainThreadQueue.h"
#include "tests/unit/host_sources/TemporaryDirectory.h"

namespace halyard {
namespace {

using host_runtime::MainThreadQueue;
using Lines = std::vector<std::string>;

class ChildProgramTest : public testing::Test {
protected:
    ChildProgramTest() { MainThreadQueue::Default().Reopen(); }
    ~ChildProgramTest() override { MainThreadQueue::Default().ShutDown(); }

    // A shell that runs this script.
    void Start(const std::string& script, std::chrono::milliseconds patience = ChildProgram::kPatience) {
        Run("/bin/sh", {"-c", script}, patience);
    }
    void Run(const std::string& program, const Lines& arguments,
             std::chrono::milliseconds patience = ChildProgram::kPatience) {
        ChildProgram::Listener listener;
        listener.onOutput = [this](const std::string& line) {
            output.push_back(line);
            Changed();
        };
        listener.onErrors = [this](const std::string& line) { errors.push_back(line); };
        listener.onEnd = [this](const std::string& how) {
            end = how;
            Changed();
        };
        child = ChildProgram::Start(program, arguments, std::move(listener), error, patience);
    }
    // Runs the main thread until then, or for too long.
    void WaitFor(std::function<bool()> condition) {
        awaited = std::move(condition);
        const auto limit = std::make_shared<zObject>();
        bool inTime = true;
        zThread::ExecuteOnMainThread(limit, 20'000'000, {}, [&inTime] {
            inTime = false;
            MainThreadQueue::Default().Quit();
        });
        MainThreadQueue::Default().Run();
        EXPECT_TRUE(inTime);
        awaited = {};
    }
    void WaitForEnd() {
        WaitFor([this] { return !end.empty(); });
    }
    void WaitForALine() {
        WaitFor([this] { return !output.empty(); });
    }
    bool IsThere(pid_t process) const { return kill(process, 0) == 0; }

    const tests::TemporaryDirectory directory;
    Lines output;
    Lines errors;
    std::string end;
    std::string error;
    std::unique_ptr<ChildProgram> child;

private:
    void Changed() {
        if (awaited && awaited()) MainThreadQueue::Default().Quit();
    }

    std::function<bool()> awaited;
};

TEST_F(ChildProgramTest, PassesOnEveryLineAndThenHowItEnded) {
    Start("echo one; echo two; echo wrong >&2; printf three; exit 3");
    ASSERT_NE(child, nullptr) << error;
    WaitForEnd();
    EXPECT_EQ(output, (Lines{"one", "two", "three"}));
    EXPECT_EQ(errors, (Lines{"wrong"}));
    EXPECT_EQ(end, "exit code 3");
}

TEST_F(ChildProgramTest, NamesTheSignalThatEndedIt) {
    Start("kill -KILL $$");
    WaitForEnd();
    EXPECT_EQ(end, "SIGKILL");
}

TEST_F(ChildProgramTest, SaysWhyThereIsNothingToRun) {
    Run(directory / "none", {});
    EXPECT_EQ(child, nullptr);
    EXPECT_EQ(error, "No such file or directory");
    tests::WriteText(directory / "text", "text");
    Run(directory / "text", {});
    EXPECT_EQ(child, nullptr);
    EXPECT_EQ(error, "Permission denied");
}

TEST_F(ChildProgramTest, AsksItToEndAndWaitsForThat) {
    const std::string file = directory / "ended";
    Start("trap 'kill $!; echo > " + file + "; exit' TERM; sleep infinity & echo ready; wait");
    WaitForALine();
    const pid_t process = child->Id();
    EXPECT_TRUE(IsThere(process));
    child.reset();
    EXPECT_TRUE(std::filesystem::exists(file));
    EXPECT_FALSE(IsThere(process));
    EXPECT_EQ(end, "") << "nobody wants to hear of it any more";
}

TEST_F(ChildProgramTest, OneThatDoesNotEndIsKilled) {
    Start("trap '' TERM; echo ready; exec sleep infinity", std::chrono::milliseconds(50));
    WaitForALine();
    const pid_t process = child->Id();
    child.reset();
    EXPECT_FALSE(IsThere(process));
}

TEST_F(ChildProgramTest, OneThatHasEndedIsNotTouchedAgain) {
    Start("exit 0");
    WaitForEnd();
    EXPECT_EQ(child->Id(), -1);
    child.reset();
}

// A descriptor that is inherited keeps files, sockets and ports open that this program has closed.
TEST_F(ChildProgramTest, InheritsNothingThatIsOpenHere) {
    const int open = ::open("/dev/null", O_RDONLY);
    Run("/bin/ls", {"/proc/self/fd"});
    WaitForEnd();
    EXPECT_EQ(output, (Lines{"0", "1", "2", "3"})) << "the last one is the folder that is listed";
    close(open);
}

TEST_F(ChildProgramTest, InheritsNoBlockedSignalAndNoInput) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    Start("cat; grep SigBlk /proc/self/status");
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    WaitForEnd();
    EXPECT_EQ(output, (Lines{"SigBlk:\t0000000000000000"}));
}

// What a terminal sends to the program in front reaches this one only, which then ends its child.
TEST_F(ChildProgramTest, IsNoMemberOfThisProgramsGroup) {
    Start("echo ready; exec sleep infinity");
    WaitForALine();
    EXPECT_EQ(getpgid(child->Id()), child->Id());
}

}  // namespace
}  // namespace halyard
