// Media that stops while the connection stands: what the phone is asked for, and that it comes back.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/contract/webrtc/Call.h"

namespace contract {
namespace {

using Entries = std::vector<Record::Entry>;
using Media = TestPhone::Media;
using Until = TestPhone::Until;
using std::chrono::milliseconds;

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// The place of the first such entry from `from` on, or the number of entries.
std::size_t Find(const Entries& entries, const std::string& what, const std::string& part = {},
                 std::size_t from = 0) {
    for (std::size_t index = from; index < entries.size(); ++index) {
        if (entries[index].what == what && Contains(entries[index].text, part)) return index;
    }
    return entries.size();
}

std::size_t Count(const Entries& entries, const std::string& what) {
    return static_cast<std::size_t>(std::count_if(
        entries.begin(), entries.end(), [&what](const Record::Entry& entry) { return entry.what == what; }));
}

std::string Failures(Call& call) {
    std::string texts;
    for (const Record::Entry& entry : call.record.All()) {
        if (entry.what == "failure") texts += entry.text + "\n";
    }
    return texts;
}

bool WaitForFailure(Call& call, const std::string& part) {
    return call.record.WaitUntil(
        [&part](const Entries& all) { return Find(all, "failure", part) < all.size(); });
}

bool WaitForOffers(Call& call, std::size_t count) {
    return call.record.WaitUntil([count](const Entries& all) { return Count(all, "offer") >= count; });
}

bool WaitForSound(Call& call) {
    Record heard;
    const auto track = call.WaitForStream()->AudioTrack(0);
    const voPointer<voAudioTrackInterface::Sink> sink(new AudioSink([&heard](const voAudioData& data) {
        const auto* end = data.samples + data.frames * 2;
        if (std::any_of(data.samples, end, [](std::int16_t sample) { return sample > 1000; }))
            heard.Add("loud");
    }));
    track->AddSink(sink);
    const bool loud = heard.WaitFor("loud").has_value();
    track->RemoveSink(sink);
    return loud;
}

class StoppedPicture : public testing::TestWithParam<const char*> {};

TEST_P(StoppedPicture, ComesBackByAKeyFrameBeforeANewNegotiation) {
    Call call({.codec = GetParam(), .keyFrameDistance = 9999});
    call.Connect();
    ASSERT_TRUE(call.WaitForPictures(10));
    call.phone.Freeze(Media::Picture, Until::KeyRequest);
    ASSERT_TRUE(WaitForFailure(call, "the picture has stopped"));
    EXPECT_TRUE(call.WaitForPictures(10));
    const auto asked = call.phone.KeyRequestAfter();
    ASSERT_TRUE(asked);
    EXPECT_GE(*asked, milliseconds(1400));
    // The watch counts from the last picture that was decoded. A busy machine still has some when the camera
    // has stopped.
    EXPECT_LE(*asked, milliseconds(3000));
    const Entries all = call.record.All();
    EXPECT_LT(Find(all, "failure", "no packet arrives; asking for a key frame"), all.size());
    EXPECT_EQ(Count(all, "offer"), 1U) << "no new negotiation";
}

INSTANTIATE_TEST_SUITE_P(Codecs, StoppedPicture, testing::Values("H264", "VP8", "VP9"));

TEST(StoppedMedia, APictureThatNoKeyFrameBringsBackIsNegotiatedAnew) {
    Call call;
    call.Connect();
    ASSERT_TRUE(call.WaitForPictures(10));
    call.phone.Freeze(Media::Picture, Until::NewOffer);
    ASSERT_TRUE(WaitForOffers(call, 2));
    EXPECT_TRUE(call.WaitForPictures(10)) << "in the track that was delivered first";
    EXPECT_TRUE(WaitForSound(call));
    const Entries all = call.record.All();
    const std::size_t keyFrame = Find(all, "failure", "asking for a key frame");
    const std::size_t negotiation = Find(all, "failure", "asking for a new negotiation");
    const std::size_t needed = Find(all, "negotiation", {}, keyFrame);
    const std::size_t offer = Find(all, "offer", {}, keyFrame);
    EXPECT_LT(keyFrame, negotiation);
    EXPECT_LT(negotiation, needed);
    EXPECT_LT(needed, offer);
    ASSERT_LT(offer, all.size());
    EXPECT_EQ(all[offer].type, "offer");
    EXPECT_EQ(Count(all, "stream"), 1U);
    EXPECT_EQ(Count(all, "failure"), 2U) << "one for each step";
}

TEST(StoppedMedia, PacketsWithoutAKeyFrameAreNoPicture) {
    Call call({.keyFrameDistance = 9999});
    call.phone.LoseKeyFrames(true);
    call.onEvent = [&call](const std::string& what) {
        if (what == "failure") call.phone.LoseKeyFrames(false);
    };
    call.Connect();
    ASSERT_TRUE(WaitForFailure(call, "the picture has stopped"));
    EXPECT_TRUE(call.WaitForPictures(10));
    const Entries all = call.record.All();
    EXPECT_LT(Find(all, "failure", "although packets arrive; asking for a key frame"), all.size());
    EXPECT_EQ(Count(all, "offer"), 1U);
}

TEST(StoppedMedia, SoundThatStopsIsNegotiatedAnew) {
    Call call;
    call.Connect();
    ASSERT_TRUE(call.WaitForPictures(10));
    ASSERT_TRUE(WaitForSound(call));
    call.phone.Freeze(Media::Sound, Until::NewOffer);
    ASSERT_TRUE(WaitForOffers(call, 2));
    EXPECT_TRUE(WaitForSound(call));
    EXPECT_TRUE(call.WaitForPictures(10));
    const Entries all = call.record.All();
    EXPECT_LT(Find(all, "failure", "the sound has stopped"), all.size());
    EXPECT_EQ(Find(all, "failure", "the picture"), all.size());
    EXPECT_EQ(Find(all, "failure", "key frame"), all.size());
}

TEST(StoppedMedia, APhoneThatDoesNotAnswerIsStillReceived) {
    Call call;
    call.Connect();
    ASSERT_TRUE(call.WaitForPictures(10));
    call.phoneAnswers = false;
    call.forwardsCandidates = false;
    call.phone.Freeze(Media::Picture, Until::Told);
    ASSERT_TRUE(WaitForOffers(call, 2));
    call.phone.Thaw();
    EXPECT_TRUE(call.WaitForPictures(10));
    EXPECT_TRUE(WaitForSound(call));
    Record statistics;
    call.connection->GetStats(new StatsReader([&statistics](const voStats& stats) {
        statistics.Add("statistics", std::to_string(stats.bytesReceived));
    }));
    const auto delivered = statistics.WaitFor("statistics");
    ASSERT_TRUE(delivered);
    EXPECT_GT(std::stoll(delivered->text), 20'000);
}

TEST(StoppedMedia, StreamsThatSaidGoodbyeAreNotMissed) {
    Call camera({.sendAudio = false});
    Call microphone({.sendVideo = false});
    Call freezing;
    for (Call* call : {&camera, &microphone, &freezing})
        call->Connect();
    ASSERT_TRUE(camera.WaitForPictures(10));
    ASSERT_TRUE(WaitForSound(microphone));
    ASSERT_TRUE(freezing.WaitForPictures(10));
    camera.phone.EndStreams();
    microphone.phone.EndStreams();
    freezing.phone.Freeze(Media::Picture, Until::NewOffer);
    ASSERT_TRUE(WaitForOffers(freezing, 2)) << "so by now the others would have been missed, too";
    for (Call* call : {&camera, &microphone}) {
        EXPECT_EQ(call->record.Count("failure"), 0U) << Failures(*call);
        EXPECT_EQ(call->record.Count("offer"), 1U);
        call->phone.Vanish();
        call->Release();
    }
}

TEST(StoppedMedia, APictureThatIsSwitchedOffIsNotMissed) {
    Call call;
    call.Connect();
    ASSERT_TRUE(call.WaitForPictures(10));
    call.phone.SendPictureNoMore();
    call.phone.Freeze(Media::Picture, Until::NewOffer);
    ASSERT_TRUE(call.record.WaitUntil([](const Entries& all) {
        return Find(all, "signaling", "0", Find(all, "negotiation", {}, Find(all, "failure"))) < all.size();
    }));
    ASSERT_TRUE(WaitForSound(call));
    const std::size_t answered = call.record.All().size();
    call.phone.Freeze(Media::Sound, Until::NewOffer);
    ASSERT_TRUE(WaitForOffers(call, 3)) << "for the sound";
    const Entries all = call.record.All();
    EXPECT_EQ(Find(all, "failure", "the picture", answered), all.size());
    EXPECT_LT(Find(all, "failure", "the sound", answered), all.size());
}

}  // namespace
}  // namespace contract
