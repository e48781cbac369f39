#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/contract/webrtc/Call.h"

namespace contract {
namespace {

using std::chrono::steady_clock;

TEST(VideoSink, RemovedInsideItsCallbackIsNotCalledAgain) {
    Record record;
    std::atomic<int> calls{0};
    Call call;
    call.Connect();
    const auto stream = call.WaitForStream();
    ASSERT_TRUE(stream);
    const auto track = stream->VideoTrack(0);
    voPointer<voVideoTrackInterface::Sink> sink;
    sink = new VideoSink([&](const voI420Frame&) {
        ++calls;
        track->RemoveSink(sink);
        record.Add("removed");
    });
    track->AddOrUpdateSink(sink);
    ASSERT_TRUE(record.WaitFor("removed"));
    EXPECT_TRUE(call.WaitForPictures(10));
    EXPECT_EQ(calls, 1);
}

TEST(VideoSink, AddedTwiceIsCalledOncePerPictureAndRemovedOnce) {
    Record record;
    std::atomic<const std::uint8_t*> last{nullptr};
    std::atomic<int> repeated{0};
    std::atomic<int> calls{0};
    Call call;
    call.Connect();
    const auto stream = call.WaitForStream();
    ASSERT_TRUE(stream);
    const auto track = stream->VideoTrack(0);
    const voPointer<voVideoTrackInterface::Sink> twice(new VideoSink([&](const voI420Frame& frame) {
        if (last.exchange(frame.y) == frame.y) ++repeated;
        if (++calls == 20) record.Add("enough");
    }));
    const voPointer<voVideoTrackInterface::Sink> between(
        new VideoSink([&](const voI420Frame&) { last = nullptr; }));
    track->AddOrUpdateSink(twice);
    track->AddOrUpdateSink(twice);
    track->AddOrUpdateSink(between);
    track->AddOrUpdateSink(nullptr);
    ASSERT_TRUE(record.WaitFor("enough"));
    EXPECT_EQ(repeated, 0);
    track->RemoveSink(twice);
    track->RemoveSink(twice);
    track->RemoveSink(nullptr);
    track->RemoveSink(between);
    ASSERT_TRUE(call.WaitForPictures(2));
    const int before = calls;
    EXPECT_TRUE(call.WaitForPictures(5));
    EXPECT_EQ(calls, before);
}

TEST(VideoSink, ExceptionEndsOnlyItsOwnCall) {
    Record record;
    std::atomic<int> calls{0};
    Call call;
    call.Connect();
    const auto stream = call.WaitForStream();
    ASSERT_TRUE(stream);
    const voPointer<voVideoTrackInterface::Sink> sink(new VideoSink([&](const voI420Frame&) {
        if (++calls == 5) record.Add("enough");
        if (calls % 2 == 0) throw 1;
        throw std::runtime_error("a fault of the sink");
    }));
    stream->VideoTrack(0)->AddOrUpdateSink(sink);
    EXPECT_TRUE(record.WaitFor("enough"));
    stream->VideoTrack(0)->RemoveSink(sink);
}

// `trackOf` takes a track from the stream; `listen` adds a sink to it that calls what it is given.
template <class TrackOf, class Listen>
void LetGoOfAllInsideTheCallback(TrackOf trackOf, Listen listen) {
    Record record;
    std::atomic<bool> done{false};
    auto call = std::make_unique<Call>();
    call->Connect();
    auto stream = call->WaitForStream();
    ASSERT_TRUE(stream);
    auto track = trackOf(*stream);
    listen(*track, [&] {
        if (done.exchange(true)) return;
        stream = nullptr;
        call->Release();
        track = nullptr;
        record.Add("released");
    });
    EXPECT_TRUE(record.WaitFor("released"));
}

TEST(VideoSink, LastReferencesMayGoInsideTheCallback) {
    LetGoOfAllInsideTheCallback(
        [](auto& stream) { return stream.VideoTrack(0); },
        [](auto& track, auto letGo) {
            track.AddOrUpdateSink(new VideoSink([letGo](const voI420Frame&) { letGo(); }));
        });
}

TEST(AudioSink, LastReferencesMayGoInsideTheCallback) {
    LetGoOfAllInsideTheCallback([](auto& stream) { return stream.AudioTrack(0); },
                                [](auto& track, auto letGo) {
                                    track.AddSink(new AudioSink([letGo](const voAudioData&) { letGo(); }));
                                });
}

TEST(VideoSink, RemovingFromATrackWhoseConnectionIsGoneIsHarmless) {
    Call call;
    call.Connect();
    const auto stream = call.WaitForStream();
    ASSERT_TRUE(stream);
    const auto video = stream->VideoTrack(0);
    const auto audio = stream->AudioTrack(0);
    const voPointer<voVideoTrackInterface::Sink> sink(new VideoSink([](const voI420Frame&) {}));
    const voPointer<voAudioTrackInterface::Sink> soundSink(new AudioSink([](const voAudioData&) {}));
    video->AddOrUpdateSink(sink);
    audio->AddSink(soundSink);
    call.Release();
    video->RemoveSink(sink);
    audio->RemoveSink(soundSink);
    audio->SetEnabled(true);
}

TEST(Pictures, ComeAtTheSendersRate) {
    constexpr int kPictures = 90;
    Call call({.width = 640, .height = 360});
    call.Connect();
    ASSERT_TRUE(call.WaitForPictures(30));
    const int sentBefore = call.phone.PicturesSent();
    const auto begin = steady_clock::now();
    ASSERT_TRUE(call.WaitForPictures(kPictures));
    const double seconds = std::chrono::duration<double>(steady_clock::now() - begin).count();
    // A busy machine may delay the sender, who then catches up; what it sent must have arrived all the same.
    EXPECT_LE(call.phone.PicturesSent() - sentBefore, kPictures * 5 / 4);
    // Three seconds at 30 per second. A sender that is held back by missing feedback needs more than six.
    EXPECT_LT(seconds, 5);
}

TEST(Pictures, OddSizesKeepTheirSize) {
    Record record;
    Call call({.codec = "VP8", .width = 321, .height = 243});
    call.Connect();
    const auto stream = call.WaitForStream();
    ASSERT_TRUE(stream);
    const voPointer<voVideoTrackInterface::Sink> sink(new VideoSink([&](const voI420Frame& frame) {
        EXPECT_GE(frame.strideY, frame.width);
        EXPECT_GE(frame.strideU, (frame.width + 1) / 2);
        record.Add("picture", std::to_string(frame.width) + "x" + std::to_string(frame.height));
    }));
    stream->VideoTrack(0)->AddOrUpdateSink(sink);
    const auto picture = record.WaitFor("picture");
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->text, "321x243");
    stream->VideoTrack(0)->RemoveSink(sink);
}

TEST(Pictures, HaveTheSendersColours) {
    Record record;
    Call call({.pattern = "red"});
    call.Connect();
    const auto stream = call.WaitForStream();
    ASSERT_TRUE(stream);
    const voPointer<voVideoTrackInterface::Sink> sink(new VideoSink([&](const voI420Frame& frame) {
        const auto at = [](const std::uint8_t* plane, int stride, int x, int y) {
            return plane[y * stride + x];
        };
        record.Add("picture", std::to_string(at(frame.y, frame.strideY, 160, 120)) + " " +
                                  std::to_string(at(frame.u, frame.strideU, 80, 60)) + " " +
                                  std::to_string(at(frame.v, frame.strideV, 80, 60)));
    }));
    stream->VideoTrack(0)->AddOrUpdateSink(sink);
    const auto picture = record.WaitFor("picture");
    ASSERT_TRUE(picture);
    int y = 0;
    int u = 0;
    int v = 0;
    ASSERT_EQ(std::sscanf(picture->text.c_str(), "%d %d %d", &y, &u, &v), 3);
    EXPECT_NEAR(y, 81, 4);
    EXPECT_NEAR(u, 90, 4);
    EXPECT_NEAR(v, 240, 4);
    stream->VideoTrack(0)->RemoveSink(sink);
}

// Three seconds of a tone of 1000 Hz at half of full scale, as they were played.
class Listening {
public:
    Listening() { left.reserve(kBlocks * 480); }

    // Whether the three seconds are full.
    bool Hear(const voAudioData& data) {
        if (blocks++ == 0) begin = steady_clock::now();
        if (blocks > kBlocks) {
            seconds = std::chrono::duration<double>(steady_clock::now() - begin).count();
            return true;
        }
        for (std::uint64_t frame = 0; frame < data.frames; ++frame)
            left.push_back(data.samples[frame * data.channels]);
        return false;
    }
    // Empty when it was steady and without clicks.
    std::string Faults() const {
        double energy = 0;
        int sharpest = 0;
        for (std::size_t index = 2; index < left.size(); ++index) {
            energy += static_cast<double>(left[index]) * left[index];
            sharpest = std::max(sharpest, std::abs(left[index] - 2 * left[index - 1] + left[index - 2]));
        }
        const double effective = std::sqrt(energy / static_cast<double>(left.size()));
        std::string faults;
        if (std::abs(seconds - 3.0) > 0.03) faults += " took " + std::to_string(seconds) + " s;";
        // It bends by at most 281 per sample.
        if (sharpest >= 700) faults += " bends by " + std::to_string(sharpest) + ";";
        if (std::abs(effective - 16384 / std::sqrt(2.0)) > 1200)
            faults += " is as loud as " + std::to_string(effective) + ";";
        return faults;
    }

private:
    static constexpr int kBlocks = 300;
    std::vector<std::int16_t> left;
    int blocks = 0;
    double seconds = 0;
    steady_clock::time_point begin;
};

// A machine that lets this process stand still has gaps in its sound; a fault of ours would be in all of it.
TEST(Sound, IsSteadyAndWithoutClicks) {
    Record record;
    std::optional<Listening> listening;
    int settling = 50;
    Call call;
    call.Connect();
    const auto stream = call.WaitForStream();
    ASSERT_TRUE(stream);
    const voPointer<voAudioTrackInterface::Sink> sink(new AudioSink([&](const voAudioData& data) {
        if (--settling > 0) return;
        if (!listening) listening.emplace();
        if (!listening->Hear(data)) return;
        const std::string faults = listening->Faults();
        record.Add(faults.empty() ? "clean" : "faulty", faults);
        listening.reset();
    }));
    stream->AudioTrack(0)->AddSink(sink);
    EXPECT_TRUE(record.WaitFor("clean"));
    stream->AudioTrack(0)->RemoveSink(sink);
    for (const Record::Entry& entry : record.All())
        std::cout << "heard:" << (entry.text.empty() ? " as it must be" : entry.text) << "\n";
}

bool IsSilent(const voAudioData& data) {
    return std::all_of(data.samples, data.samples + data.frames * data.channels,
                       [](std::int16_t sample) { return sample == 0; });
}

TEST(Sound, IsZeroWhileTheTrackIsDisabled) {
    Record record;
    std::atomic<bool> disabled{false};
    std::atomic<int> since{0};
    Call call;
    call.Connect();
    const auto stream = call.WaitForStream();
    ASSERT_TRUE(stream);
    const voPointer<voAudioTrackInterface::Sink> sink(new AudioSink([&](const voAudioData& data) {
        const bool silent = IsSilent(data);
        if (!disabled) {
            if (!silent) record.Add("loud");
            return;
        }
        // The block that was on its way is allowed.
        if (++since > 2 && !silent) record.Add("leak");
        if (since == 20) record.Add("enough");
    }));
    stream->AudioTrack(0)->AddSink(sink);
    ASSERT_TRUE(record.WaitFor("loud"));
    stream->AudioTrack(0)->SetEnabled(false);
    disabled = true;
    ASSERT_TRUE(record.WaitFor("enough"));
    EXPECT_EQ(record.Count("leak"), 0U);
    disabled = false;
    const std::size_t before = record.Count("loud");
    stream->AudioTrack(0)->SetEnabled(true);
    EXPECT_TRUE(record.WaitUntil([before](const auto& all) {
        return static_cast<std::size_t>(std::count_if(
                   all.begin(), all.end(), [](const auto& entry) { return entry.what == "loud"; })) > before;
    }));
    stream->AudioTrack(0)->RemoveSink(sink);
}

TEST(Sound, GoesOnAsSilenceWhenThePhoneVanishes) {
    Record record;
    std::atomic<int> silentInARow{0};
    Call call;
    call.Connect();
    const auto stream = call.WaitForStream();
    ASSERT_TRUE(stream);
    const voPointer<voAudioTrackInterface::Sink> sink(new AudioSink([&](const voAudioData& data) {
        const bool silent = IsSilent(data);
        if (!silent) record.Add("loud");
        silentInARow = silent ? silentInARow + 1 : 0;
        if (silentInARow == 50) record.Add("silent");
    }));
    stream->AudioTrack(0)->AddSink(sink);
    ASSERT_TRUE(record.WaitFor("loud"));
    call.phone.Vanish();
    EXPECT_TRUE(record.WaitFor("silent"));
    stream->AudioTrack(0)->RemoveSink(sink);
}

}  // namespace
}  // namespace contract
