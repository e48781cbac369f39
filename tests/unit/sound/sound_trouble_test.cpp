// What becomes of sound when a thread wakes very late or the link stands still.
#include "tests/unit/sound/PlaybackTest.h"

namespace {

using tests::Listener;
using tests::Playback;
using tests::PlaybackTest;
using tests::SimulatedLink;
using webrtc_gstreamer::AudioPlayout;

constexpr std::int64_t kSecondUs = 1'000'000;

class SoundTrouble : public PlaybackTest {
protected:
    // Begins the measures anew.
    static void Forget(Playback& playback) {
        playback.Written().TakeSharpestBend();
        for (Listener& listener : playback.Listeners())
            listener.ForgetOffsets();
    }
};

TEST_F(SoundTrouble, ConsumersInEveryPhaseForgiveSmallLateness) {
    Playback playback = Play(CalmLink(), CalmWorker());
    for (int consumer = 0; consumer < 100; ++consumer)
        playback.Listen(400'000 + consumer * 1'013);
    playback.RunUntil(120 * kSecondUs);
    for (const Listener& listener : playback.Listeners()) {
        EXPECT_EQ(listener.SilentPulls(), 0);
        EXPECT_EQ(listener.Jumps(), 0);
        EXPECT_GT(listener.HeardOffsets().count, 100);
    }
}

TEST_F(SoundTrouble, AWorkerThatWakesLateMakesUpForAllBlocks) {
    std::int64_t wakes = 0;
    // Tens of milliseconds, every ten seconds.
    Playback playback = Play(CalmLink(), [&] {
        return ++wakes % 1000 == 0 ? 10'000 + static_cast<std::int64_t>(dice.Uniform() * 40'000)
                                   : AFewTenths();
    });
    playback.Listen(400'000);
    playback.RunUntil(5 * kSecondUs);
    Forget(playback);
    playback.RunUntil(600 * kSecondUs);
    EXPECT_EQ(playback.Written().Frames(), (600 * 100 - 1) * AudioPlayout::kBlockFrames)
        << "the clock is kept";
    EXPECT_EQ(playback.Playout().Underruns(), 0) << "what came meanwhile was stored";
    EXPECT_EQ(playback.Playout().Cuts(), 0);
    const Listener& listener = playback.Listeners().front();
    EXPECT_LT(listener.HeardOffsets().largestMs - listener.HeardOffsets().smallestMs, 40)
        << "a consumer that missed a block begins at another distance, two to three blocks behind";
    EXPECT_LE(listener.Jumps(), 60) << "no more than one miss for a late wake";
    EXPECT_LE(listener.SilentPulls(), 60 * 8);
}

TEST_F(SoundTrouble, AStandstillOfTheLinkFadesAndResynchronisesNobody) {
    Playback playback = Play(CalmLink(), CalmWorker());
    playback.Listen(400'000);
    playback.RunUntil(60 * kSecondUs);
    const double offsetBefore = playback.Listeners().front().HeardOffsets().MeanMs();
    Forget(playback);
    playback.Link().Hold(60'500'000, 60'800'000);
    playback.RunUntil(63 * kSecondUs);
    EXPECT_EQ(playback.Playout().Underruns(), 1);
    EXPECT_EQ(playback.Playout().Cuts(), 0) << "what came too late was left out before it was heard";
    // Where the sound stops, it goes over into a straight line to zero within 5 ms.
    const int slope = static_cast<int>(SimulatedLink::kToneHeight * 0.131 + SimulatedLink::kToneHeight / 240);
    EXPECT_LE(playback.Written().TakeSharpestBend(), slope + 4);
    EXPECT_EQ(playback.Listeners().front().Jumps(), 0);
    EXPECT_EQ(playback.Listeners().front().SilentPulls(), 0) << "the silence was played, not missed";

    Forget(playback);
    playback.RunUntil(120 * kSecondUs);
    EXPECT_LT(playback.Listeners().front().HeardOffsets().largestMs, offsetBefore + 60)
        << "of the 300 ms little stays: what a link that pauses needs";
}

TEST_F(SoundTrouble, ABetterWayIsFollowedAtOnce) {
    SimulatedLink::Behaviour behaviour = CalmLink();
    behaviour.leastDelayUs = 150'000;
    Playback playback = Play(behaviour, CalmWorker());
    playback.Listen(600'000);
    playback.RunUntil(30 * kSecondUs);
    const double offsetBefore = playback.Listeners().front().HeardOffsets().MeanMs();
    playback.Link().SetLeastDelayUs(30'000);
    playback.RunUntil(40 * kSecondUs);
    Forget(playback);
    playback.RunUntil(60 * kSecondUs);
    EXPECT_EQ(playback.Playout().Cuts(), 1);
    EXPECT_EQ(playback.Playout().Underruns(), 0);
    EXPECT_LT(playback.Listeners().front().HeardOffsets().MeanMs(), offsetBefore - 60);
    EXPECT_EQ(playback.Listeners().front().Jumps(), 0);
}

}  // namespace
