#include <gtest/gtest.h>

#include <filesystem>

#include "tests/contract/webrtc/Call.h"
#include "webrtc_gstreamer/LivingObjects.h"

namespace contract {
namespace {

std::size_t EntriesOf(const char* directory) {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(directory))
        ++count;
    return count;
}

std::size_t Threads() {
    return EntriesOf("/proc/self/task");
}

std::size_t OpenFiles() {
    return EntriesOf("/proc/self/fd");
}

TEST(Lifetime, ReleaseAtOnceAfterCreation) {
    const auto factory = voPeerConnectionFactoryInterface::Create(nullptr);
    ASSERT_TRUE(factory);
    for (int count = 0; count < 5; ++count) {
        auto connection = factory->CreatePeerConnection(nullptr, 0, true);
        ASSERT_TRUE(connection);
        if (count % 2 == 1) connection->CreateOffer();
    }
}

TEST(Lifetime, LocalStreamStaysWithItsPeerConnection) {
    Call call;
    const std::int64_t before = webrtc_gstreamer::LivingObjects();
    {
        const auto video = call.connection->CreateVideoTrack("VideoTrack", nullptr);
        const auto audio = call.connection->CreateAudioTrackWithDefaultMic("AudioTrack");
        EXPECT_TRUE(call.connection->CreateLocalMediaStream(video, audio));
    }
    EXPECT_EQ(webrtc_gstreamer::LivingObjects(), before + 3) << "the stream and its tracks";
    call.Release();
    EXPECT_TRUE(webrtc_gstreamer::WaitUntilIdle(10'000));
    EXPECT_EQ(webrtc_gstreamer::LivingObjects(), 0);
}

class ReleasedInside : public testing::TestWithParam<const char*> {};

TEST_P(ReleasedInside, AnObserverCall) {
    Record record;
    Call call;
    call.onEvent = [&call, &record](const std::string& what) {
        if (what != GetParam() || !call.connection) return;
        call.Release();
        record.Add("released");
    };
    call.Connect();
    EXPECT_TRUE(record.WaitFor("released"));
    EXPECT_TRUE(webrtc_gstreamer::WaitUntilIdle(10'000));
}

INSTANTIATE_TEST_SUITE_P(Calls, ReleasedInside,
                         testing::Values("offer", "candidate", "stream", "ice", "gathering", "signaling"));

TEST(Lifetime, NoObserverCallBeginsAfterDetaching) {
    std::atomic<bool> detached{false};
    std::atomic<int> late{0};
    Record record;
    Call call;
    call.onEvent = [&](const std::string& what) {
        if (detached) ++late;
        if (what != "offer") return;
        call.connection->SetObserver(nullptr);
        detached = true;
        record.Add("detached");
    };
    call.connection->CreateOffer();
    ASSERT_TRUE(record.WaitFor("detached"));
    call.connection->CreateOffer();
    call.connection->SetRemoteDescription("nonsense", "answer");
    // Answered after all of that.
    call.connection->GetStats(new StatsReader([&record](const voStats&) { record.Add("stats"); }));
    ASSERT_TRUE(record.WaitFor("stats"));
    EXPECT_EQ(late, 0);
}

TEST(Lifetime, NewConnectionWhileTheOldOneIsReleased) {
    Call first;
    first.Connect();
    ASSERT_TRUE(first.WaitForPictures(1));
    Call second;
    second.Connect();
    first.Release();
    EXPECT_TRUE(second.WaitForPictures(10));
}

TEST(Lifetime, VanishedPhoneDoesNotHoldUpTheEnd) {
    Call call;
    call.Connect();
    ASSERT_TRUE(call.WaitForPictures(1));
    call.phone.Vanish();
    call.Release();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(webrtc_gstreamer::WaitUntilIdle(10'000));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST(Lifetime, CyclesLeaveNoThreadsAndFilesBehind) {
    std::size_t threads = 0;
    std::size_t files = 0;
    for (int cycle = 1; cycle <= 30; ++cycle) {
        {
            Call call;
            call.Connect();
            if (cycle % 3 != 0) {
                ASSERT_TRUE(call.WaitForPictures(1)) << cycle;
            }
        }
        ASSERT_TRUE(webrtc_gstreamer::WaitUntilIdle(10'000));
        ASSERT_EQ(webrtc_gstreamer::LivingObjects(), 0) << cycle;
        if (cycle == 10) {
            threads = Threads();
            files = OpenFiles();
        }
    }
    // A pool thread of GLib's may come or go.
    EXPECT_LE(Threads(), threads + 2);
    EXPECT_LE(OpenFiles(), files + 2);
}

TEST(Statistics, AreAnsweredOncePerRequestEvenWhenReleased) {
    constexpr int kRequests = 40;
    std::atomic<int> answers{0};
    Record record;
    {
        Call call;
        call.Connect();
        for (int count = 0; count < kRequests; ++count) {
            call.connection->GetStats(new StatsReader([&](const voStats&) {
                if (++answers == kRequests) record.Add("all");
            }));
        }
        call.connection->GetStats(nullptr);
    }
    EXPECT_TRUE(record.WaitFor("all"));
    EXPECT_TRUE(webrtc_gstreamer::WaitUntilIdle(10'000));
    EXPECT_EQ(answers, kRequests);
}

voStats StatsOf(Call& call) {
    Record record;
    voStats result;
    call.connection->GetStats(new StatsReader([&](const voStats& stats) {
        result = stats;
        record.Add("stats");
    }));
    EXPECT_TRUE(record.WaitFor("stats"));
    return result;
}

TEST(Statistics, CountBytesAgainstTheSteadyClock) {
    const auto nowUs = [] {
        return std::chrono::duration_cast<std::chrono::microseconds>(
                   std::chrono::steady_clock::now().time_since_epoch())
            .count();
    };
    Call call;
    call.Connect();
    ASSERT_TRUE(call.WaitForPictures(10));
    const auto before = nowUs();
    const voStats first = StatsOf(call);
    const auto after = nowUs();
    EXPECT_GE(first.timestampUs, before);
    EXPECT_LE(first.timestampUs, after);
    EXPECT_GT(first.bytesReceived, 1000);
    EXPECT_LE(first.stateCode1, 4U);
    EXPECT_LE(first.stateCode2, 4U);
    ASSERT_TRUE(call.WaitForPictures(15));
    const voStats second = StatsOf(call);
    EXPECT_GT(second.bytesReceived, first.bytesReceived);
    EXPECT_GT(second.timestampUs, first.timestampUs);
    EXPECT_GE(second.counter4, first.counter4 + 15);
}

TEST(Statistics, CountSoundAlone) {
    Record blocks;
    std::atomic<int> count{0};
    Call sound({.sendVideo = false});
    sound.Connect();
    const auto stream = sound.WaitForStream();
    ASSERT_TRUE(stream);
    const voPointer<voAudioTrackInterface::Sink> sink(new AudioSink([&](const voAudioData&) {
        if (++count == 100) blocks.Add("enough");
    }));
    stream->AudioTrack(0)->AddSink(sink);
    ASSERT_TRUE(blocks.WaitFor("enough"));
    stream->AudioTrack(0)->RemoveSink(sink);
    EXPECT_GT(StatsOf(sound).bytesReceived, 2000);
}

TEST(Statistics, OfAnUnconnectedConnectionHoldNoBytes) {
    Call call;
    const voStats stats = StatsOf(call);
    EXPECT_EQ(stats.bytesReceived, 0);
    EXPECT_GT(stats.timestampUs, 0);
}

}  // namespace
}  // namespace contract
