#include "webrtc_gstreamer/MediaWatchdog.h"

#include <gtest/gtest.h>

#include <vector>

namespace webrtc_gstreamer {
namespace {

using Kind = MediaWatchdog::Kind;

constexpr std::int64_t kLookUs = 250'000;
constexpr double kLookSeconds = 0.25;

enum class Media { Flows, Undecodable, MadeUp, Gone };

// Four looks a second at a phone whose picture and sound are switched as the test says.
class Watch {
public:
    Watch() {
        dog.Expect(Kind::Picture, true);
        dog.Expect(Kind::Sound, true);
    }

    void RunFor(double seconds) {
        for (std::int64_t looks = static_cast<std::int64_t>(seconds * 1e6) / kLookUs; looks > 0; --looks)
            LookAfter(kLookUs);
    }

    void LookAfter(std::int64_t us) {
        nowUs += us;
        Advance(picture, pictureCounts);
        Advance(sound, soundCounts);
        const auto findings = dog.Look(nowUs, pictureCounts, soundCounts, mayNegotiate);
        notes.insert(notes.end(), findings.recoveries.begin(), findings.recoveries.end());
        notes.insert(notes.end(), findings.troubles.begin(), findings.troubles.end());
        if (findings.askForKeyFrame) keyFrames.push_back(Seconds());
        if (findings.askForNegotiation) negotiations.push_back(Seconds());
    }

    // Whether a picture that flows for so long and stops is missed, once.
    bool MissesPictureAfter(double seconds) {
        picture = Media::Flows;
        RunFor(seconds);
        picture = Media::Gone;
        RunFor(2);
        return keyFrames.size() == 1;
    }

    // From now on.
    void Begin() {
        notes.clear();
        keyFrames.clear();
        negotiations.clear();
        beginUs = nowUs;
    }

    MediaWatchdog dog;
    Media picture = Media::Flows;
    Media sound = Media::Flows;
    bool mayNegotiate = true;
    std::vector<std::string> notes;
    std::vector<double> keyFrames;  // seconds
    std::vector<double> negotiations;

private:
    static void Advance(Media media, MediaWatchdog::Progress& counts) {
        if (media == Media::Flows || media == Media::Undecodable) counts.packets += 8;
        if (media == Media::Flows || media == Media::MadeUp) counts.decoded += 7;
    }
    double Seconds() const { return static_cast<double>(nowUs - beginUs) / 1e6; }

    std::int64_t nowUs = 77'000'000;
    std::int64_t beginUs = nowUs;
    MediaWatchdog::Progress pictureCounts;
    MediaWatchdog::Progress soundCounts;
};

// Picture and sound have flowed for a while.
class SettledWatch : public Watch {
public:
    SettledWatch() {
        RunFor(20);
        Begin();
    }
};

bool Contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

using Times = std::vector<double>;

TEST(MediaWatchdog, SaysNothingWhileMediaFlows) {
    Watch watch;
    watch.RunFor(3600);
    EXPECT_TRUE(watch.notes.empty());
    EXPECT_TRUE(watch.keyFrames.empty());
    EXPECT_TRUE(watch.negotiations.empty());
}

TEST(MediaWatchdog, AsksForAKeyFrameWithinTwoSecondsAndThenForANegotiation) {
    SettledWatch watch;
    watch.picture = Media::Gone;
    watch.RunFor(3.75);
    EXPECT_EQ(watch.keyFrames, Times{1.5});
    EXPECT_EQ(watch.negotiations, Times{3.5});
    EXPECT_LE(1.5 + kLookSeconds, 2.0) << "wherever between two looks it stops";
    ASSERT_EQ(watch.notes.size(), 2U);
    EXPECT_EQ(watch.notes[0], "the picture has stopped for 1.5 s, no packet arrives; asking for a key frame");
    EXPECT_EQ(watch.notes[1], "the picture has stopped for 3.5 s; asking for a new negotiation");
}

TEST(MediaWatchdog, AKeyFrameThatHelpsEndsIt) {
    SettledWatch watch;
    watch.picture = Media::Gone;
    watch.RunFor(2);
    watch.picture = Media::Flows;
    watch.RunFor(60);
    EXPECT_EQ(watch.keyFrames.size(), 1U);
    EXPECT_TRUE(watch.negotiations.empty());
    ASSERT_EQ(watch.notes.size(), 2U);
    EXPECT_TRUE(Contains(watch.notes[1], "the picture is back after ")) << watch.notes[1];
}

TEST(MediaWatchdog, PacketsThatCannotBeDecodedAreNoPicture) {
    SettledWatch watch;
    watch.picture = Media::Undecodable;
    watch.RunFor(3.75);
    EXPECT_EQ(watch.keyFrames, Times{1.5});
    EXPECT_EQ(watch.negotiations, Times{3.5});
    EXPECT_TRUE(Contains(watch.notes[0], "although packets arrive")) << watch.notes[0];
}

TEST(MediaWatchdog, SoundThatTheDecoderMadeUpIsNone) {
    SettledWatch watch;
    watch.sound = Media::MadeUp;
    watch.RunFor(3.75);
    EXPECT_EQ(watch.negotiations, Times{3.5});
}

TEST(MediaWatchdog, APictureWithoutItsFirstKeyFrameCounts) {
    Watch watch;
    watch.picture = Media::Undecodable;
    watch.RunFor(2);
    EXPECT_EQ(watch.keyFrames.size(), 1U);
}

TEST(MediaWatchdog, SoundThatStopsIsNegotiatedWithoutAKeyFrame) {
    SettledWatch watch;
    watch.sound = Media::Gone;
    watch.RunFor(3.75);
    EXPECT_TRUE(watch.keyFrames.empty());
    EXPECT_EQ(watch.negotiations, Times{3.5});
    ASSERT_EQ(watch.notes.size(), 2U);
    EXPECT_EQ(watch.notes[0], "the sound has stopped for 1.5 s, no packet arrives");
}

TEST(MediaWatchdog, WhatNeverBeganIsNotMissed) {
    Watch watch;
    watch.picture = Media::Gone;
    watch.sound = Media::Gone;
    watch.RunFor(600);
    EXPECT_TRUE(watch.notes.empty());
}

TEST(MediaWatchdog, WhatTheOtherSideDoesNotSendIsNotMissed) {
    SettledWatch watch;
    watch.dog.Expect(Kind::Picture, false);
    watch.RunFor(1);  // the last packets are still under way
    watch.picture = Media::Gone;
    watch.RunFor(600);
    EXPECT_TRUE(watch.notes.empty());

    watch.dog.Expect(Kind::Picture, true);
    EXPECT_TRUE(watch.MissesPictureAfter(5)) << "sent again, so watched again";
}

TEST(MediaWatchdog, AStreamThatSaidGoodbyeIsNotMissed) {
    SettledWatch watch;
    watch.dog.Pause(Kind::Picture);
    watch.RunFor(0.25);  // the last packets are still under way
    watch.picture = Media::Gone;
    watch.RunFor(600);
    EXPECT_TRUE(watch.notes.empty());
    EXPECT_TRUE(watch.MissesPictureAfter(1)) << "it came back, so it is watched again";
}

TEST(MediaWatchdog, PacketsThatCatchUpAfterAGoodbyeAreNoBeginning) {
    SettledWatch watch;
    watch.dog.Pause(Kind::Picture);
    watch.RunFor(2);  // a busy machine has as much still to decode
    watch.LookAfter(MediaWatchdog::kLongestStepUs);
    watch.picture = Media::Gone;
    watch.RunFor(600);
    EXPECT_TRUE(watch.notes.empty());
}

TEST(MediaWatchdog, AStreamThatGoesOnAfterItsGoodbyeIsWatchedInTheEnd) {
    SettledWatch watch;
    watch.dog.Pause(Kind::Picture);
    EXPECT_TRUE(watch.MissesPictureAfter(6));
}

TEST(MediaWatchdog, AGoodbyeEndsWhatWasMissed) {
    SettledWatch watch;
    watch.picture = Media::Gone;
    watch.RunFor(2);
    watch.dog.Pause(Kind::Picture);
    watch.RunFor(60);
    EXPECT_TRUE(watch.negotiations.empty());
}

TEST(MediaWatchdog, ASilentPhoneIsAskedLessAndLess) {
    SettledWatch watch;
    watch.picture = Media::Gone;
    watch.sound = Media::Gone;
    watch.RunFor(200);
    EXPECT_EQ(watch.negotiations, (Times{3.5, 7.5, 15.5, 31.5, 63.5, 123.5, 183.5}));
    EXPECT_EQ(watch.keyFrames.size(), 1U);
}

TEST(MediaWatchdog, APictureThatFlowsSuffersOnceForSilentSound) {
    SettledWatch watch;
    watch.sound = Media::Gone;
    watch.RunFor(600);
    EXPECT_EQ(watch.negotiations, Times{3.5});
    watch.picture = Media::Gone;
    watch.RunFor(4);
    EXPECT_EQ(watch.negotiations.size(), 2U) << "now there is nothing to lose";
}

TEST(MediaWatchdog, SettledMediaBeginsAnew) {
    SettledWatch watch;
    watch.picture = Media::Gone;
    watch.sound = Media::Gone;
    watch.RunFor(65);  // the next negotiation would be due after 123.5 s
    watch.picture = Media::Flows;
    watch.sound = Media::Flows;
    watch.RunFor(10.5);
    watch.Begin();
    watch.picture = Media::Gone;
    watch.RunFor(8);
    EXPECT_EQ(watch.keyFrames, Times{1.5});
    EXPECT_EQ(watch.negotiations, Times{3.5});
}

TEST(MediaWatchdog, AMomentOfMediaKeepsThePauses) {
    SettledWatch watch;
    watch.picture = Media::Gone;
    watch.sound = Media::Gone;
    watch.RunFor(120);
    watch.Begin();
    // A phone that sends for a second after each negotiation and hangs again.
    for (int second = 0; second < 120; ++second) {
        watch.picture = second % 5 == 0 ? Media::Flows : Media::Gone;
        watch.sound = watch.picture;
        watch.RunFor(1);
    }
    EXPECT_LE(watch.negotiations.size(), 2U);
    EXPECT_GE(watch.negotiations.size(), 1U);
}

TEST(MediaWatchdog, WaitsUntilANegotiationMayBe) {
    SettledWatch watch;
    watch.mayNegotiate = false;
    watch.picture = Media::Gone;
    watch.RunFor(9);
    EXPECT_EQ(watch.keyFrames, Times{1.5});
    EXPECT_TRUE(watch.negotiations.empty());
    watch.mayNegotiate = true;
    watch.RunFor(1);
    EXPECT_EQ(watch.negotiations, Times{9.25});
}

TEST(MediaWatchdog, AProcessThatStoodStillBlamesNobody) {
    SettledWatch watch;
    watch.picture = Media::Gone;
    watch.sound = Media::Gone;
    watch.LookAfter(3'600'000'000);
    EXPECT_TRUE(watch.notes.empty());
    watch.picture = Media::Flows;
    watch.sound = Media::Flows;
    watch.RunFor(60);
    EXPECT_TRUE(watch.notes.empty());
}

}  // namespace
}  // namespace webrtc_gstreamer
