// The library calls back on threads of its own, whoever's call it was that led to it.
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>

#include "tests/contract/webrtc/Call.h"
#include "webrtc/voDebug.h"

namespace contract {
namespace {

class LineSink : public voDebug::Logging {
public:
    explicit LineSink(std::function<void(const char*)> handleLine)
        : Logging(Delete), handle(std::move(handleLine)) {}
    void OnLogLine(const char* line) override { handle(line); }

private:
    const std::function<void(const char*)> handle;
};

// Notes what was called back, and whether on the thread of the test.
class Threads : public testing::Test {
protected:
    static constexpr const char* kOnTheCallersThread = "on the caller's thread";

    void Note(const std::string& what) {
        called.Add(std::this_thread::get_id() == own ? kOnTheCallersThread : what, what);
    }
    void ExpectNoneOnTheCallersThread() {
        EXPECT_EQ(called.Count(kOnTheCallersThread), 0U);
        for (const Record::Entry& entry : called.All()) {
            if (entry.what != kOnTheCallersThread) continue;
            ADD_FAILURE() << entry.text;
            break;
        }
    }

    const std::thread::id own = std::this_thread::get_id();
    Record called;
};

TEST_F(Threads, OfObserversStatisticsAndSinksAreTheLibrarys) {
    Call call;
    call.onEvent = [this](const std::string& what) { Note(what); };
    call.connection->AddIceCandidate("nonsense", "", 0);
    call.connection->SetRemoteDescription("nonsense", "answer");
    call.connection->CreateAnswer();
    call.connection->GetStats(new StatsReader([this](const voStats&) { Note("statistics"); }));
    ASSERT_TRUE(called.WaitFor("failure"));
    ASSERT_TRUE(called.WaitFor("statistics"));
    call.Connect();
    const auto stream = call.WaitForStream();
    ASSERT_TRUE(stream);
    const voPointer<voVideoTrackInterface::Sink> pictures(
        new VideoSink([this](const voI420Frame&) { Note("picture"); }));
    const voPointer<voAudioTrackInterface::Sink> sound(
        new AudioSink([this](const voAudioData&) { Note("sound"); }));
    stream->VideoTrack(0)->AddOrUpdateSink(pictures);
    stream->AudioTrack(0)->AddSink(sound);
    for (const char* what :
         {"offer", "candidate", "stream", "ice", "gathering", "signaling", "picture", "sound"})
        EXPECT_TRUE(called.WaitFor(what)) << what;
    stream->VideoTrack(0)->RemoveSink(pictures);
    stream->AudioTrack(0)->RemoveSink(sound);
    call.connection->GetStats(new StatsReader([this](const voStats&) { Note("last statistics"); }));
    call.Release();
    EXPECT_TRUE(called.WaitFor("last statistics"));
    ExpectNoneOnTheCallersThread();
}

TEST_F(Threads, OfTheLogAreTheLibrarys) {
    voDebug::SetLogging(new LineSink([this](const char*) { Note("line"); }), voDebug::LogLevel::Verbose);
    {
        Call call;
        const voStunServer odd[] = {{"nonsense", "", ""}, {"turn:127.0.0.1:3478", "u", "p"}};
        call.Reconnect(odd, 2);
        call.connection->SetRemoteDescription("nonsense", "answer");
        call.connection->CreateOffer();
        EXPECT_TRUE(call.record.WaitFor("offer"));
        EXPECT_TRUE(called.WaitFor("line"));
    }
    voDebug::SetLogging(nullptr, voDebug::LogLevel::None);
    ExpectNoneOnTheCallersThread();
}

void DeleteAndThrow(voObject* object) {
    delete object;
    throw std::runtime_error("a fault of a destroy function");
}

TEST_F(Threads, OfTheLogAreTheLibrarysAlsoWhenTheCallerMeetsAFault) {
    voDebug::SetLogging(new LineSink([this](const char*) { Note("line"); }), voDebug::LogLevel::Error);
    voPointer<voCallback> faulty(new voCallback(&DeleteAndThrow));
    faulty = nullptr;
    EXPECT_TRUE(called.WaitUntil([](const auto& all) { return !all.empty(); }));
    voDebug::SetLogging(nullptr, voDebug::LogLevel::None);
    ExpectNoneOnTheCallersThread();
}

int PolicyOfThisThread() {
    int policy = -1;
    sched_param parameters{};
    pthread_getschedparam(pthread_self(), &policy, &parameters);
    return policy;
}

bool MayPutThreadsFirst() {
    bool may = false;
    std::thread([&may] {
        sched_param parameters{};
        parameters.sched_priority = sched_get_priority_min(SCHED_RR);
        may = pthread_setschedparam(pthread_self(), SCHED_RR, &parameters) == 0;
    }).join();
    return may;
}

TEST_F(Threads, TheOneOfTheSoundRunsWhenItIsDueWhereTheSystemPermitsIt) {
    Call call;
    call.Connect();
    const auto stream = call.WaitForStream();
    ASSERT_TRUE(stream);
    const voPointer<voAudioTrackInterface::Sink> sound(new AudioSink(
        [this](const voAudioData&) { called.Add("policy", std::to_string(PolicyOfThisThread())); }));
    stream->AudioTrack(0)->AddSink(sound);
    const auto policy = called.WaitFor("policy");
    stream->AudioTrack(0)->RemoveSink(sound);
    ASSERT_TRUE(policy);
    EXPECT_EQ(policy->text, std::to_string(MayPutThreadsFirst() ? SCHED_RR : SCHED_OTHER));
    call.Release();
}

// How often threads of webrtcbin's queues went to sleep in this process.
long SleepsOfQueues() {
    long sleeps = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string name;
        std::getline(std::ifstream(task.path() / "comm") >> std::ws, name);
        if (!name.starts_with("queue")) continue;
        std::ifstream status(task.path() / "status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("voluntary_ctxt_switches:"))
                sleeps += std::stol(line.substr(line.find(':') + 1));
        }
    }
    return sleeps;
}

// The phone is in this process too, with a queue for the reports that it gets. Sound alone has 50 packets a
// second.
TEST_F(Threads, APacketPassesNoQueueOnItsWayToTheJitterBuffer) {
    std::atomic<int> reports{0};
    Call call;
    call.phone.onReport = [&reports] { ++reports; };
    call.Connect();
    ASSERT_TRUE(call.WaitForPictures(30));
    const long before = SleepsOfQueues() - reports;
    EXPECT_GT(before, 0) << "there are such threads";
    ASSERT_TRUE(call.WaitForPictures(90));
    EXPECT_LT(SleepsOfQueues() - reports - before, 30);
    call.Release();
}

}  // namespace
}  // namespace contract
