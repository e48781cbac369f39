// What a person takes back for a while: the picture, the sound, the screen.
#include <iostream>

#include "tests/e2e/camera_page/MediaLevels.h"
#include "tests/e2e/camera_page/StampedPageTest.h"

namespace camera_page {
namespace {

using host_runtime::TallyState;

class CameraPageMute : public CameraPageTest {
protected:
    static constexpr int kBlackLuma = 20;   // black is 16
    static constexpr int kCameraLuma = 80;  // the camera's picture has more
    static constexpr int kSilentPeak = 30;  // of 32768
    static constexpr int kTonePeak = 4000;  // the microphone's tone has 8192
    // Longer than a host waits before it doubts a connection without media, with room for two attempts.
    static constexpr auto kLongMute = 12s;

    void StartAndWatch() {
        ASSERT_NO_FATAL_FAILURE(StartPairedPhone());
        host.Host().Puller().Add(host.Host().Sources().Add(kFirstPhone), levels);
        ASSERT_TRUE(BothAreThere()) << Logs();
        ASSERT_TRUE(Shows("live")) << Logs();
    }

    bool Until(const std::function<bool(const MediaLevels::Levels&)>& holds) {
        return host.RunUntil([&] { return holds(levels->Now()); }, 10s);
    }
    bool BothAreThere() {
        return host.RunUntil(
            [this] { return levels->Now().luma > kCameraLuma && levels->Now().peak > kTonePeak; },
            kMediaLimit);
    }

    std::shared_ptr<MediaLevels> levels = std::make_shared<MediaLevels>();
};

TEST_F(CameraPageMute, AMutedCameraIsBlackAndAMutedMicrophoneSilent) {
    ASSERT_NO_FATAL_FAILURE(StartAndWatch());
    phone->Click("#mute-camera");
    EXPECT_TRUE(Until([](const auto& now) { return now.luma <= kBlackLuma; }))
        << levels->Now().luma << Logs();
    EXPECT_TRUE(host.RunUntil([this] { return phone->Says("\"muted\":\"Picture off\""); }, 5s)) << Logs();
    EXPECT_GT(levels->Now().peak, kTonePeak) << "the sound goes on";
    phone->TakePicture("muted-camera");

    phone->Click("#mute-camera");
    EXPECT_TRUE(Until([](const auto& now) { return now.luma > kCameraLuma; }))
        << levels->Now().luma << Logs();

    phone->Click("#mute-microphone");
    EXPECT_TRUE(Until([](const auto& now) { return now.peak <= kSilentPeak; }))
        << levels->Now().peak << Logs();
    EXPECT_TRUE(host.RunUntil([this] { return phone->Says("\"muted\":\"Sound off\""); }, 5s)) << Logs();
    EXPECT_GT(levels->Now().luma, kCameraLuma) << "the picture goes on";

    phone->Click("#mute-microphone");
    EXPECT_TRUE(BothAreThere()) << Logs();
    EXPECT_TRUE(host.RunUntil([this] { return phone->Says("\"muted\":\"\""); }, 5s)) << Logs();
    EXPECT_EQ(phone->Offers(), 1U) << "no host heard of it\n" << Logs();
    EXPECT_EQ(Troubles(*phone), "");
}

TEST_F(CameraPageMute, WhoIsMutedForLongIsNotTakenForBroken) {
    ASSERT_NO_FATAL_FAILURE(StartAndWatch());
    phone->Click("#mute-camera");
    phone->Click("#mute-microphone");
    ASSERT_TRUE(Until([](const auto& now) { return now.luma <= kBlackLuma && now.peak <= kSilentPeak; }))
        << Logs();
    phone->TakePicture("muted-both");
    const std::int64_t before = levels->Now().pictures;
    host.RunFor(kLongMute);
    std::cout << levels->Now().pictures - before << " black pictures in " << kLongMute.count() << " s\n";
    EXPECT_EQ(phone->Offers(), 1U) << "the host negotiated anew\n" << Logs();
    EXPECT_EQ(phone->State(), "live");
    phone->Click("#mute-camera");
    phone->Click("#mute-microphone");
    EXPECT_TRUE(BothAreThere()) << levels->Now().luma << ", " << levels->Now().peak << Logs();
    EXPECT_EQ(phone->Offers(), 1U) << Logs();
    EXPECT_EQ(Troubles(*phone), "");
}

class CameraPageLock : public StampedPageTest {
protected:
    // Phones that are taken out of a pocket must be there before somebody cuts to them.
    static constexpr auto kUnlockedLimit = 10s;

    void Lock() {
        const std::size_t done = phone->Count("done");
        phone->Lock();
        ASSERT_TRUE(Done(done + 1)) << Logs();
        ASSERT_EQ(phone->Latest("visibility").state, "hidden") << Logs();
        ASSERT_TRUE(PicturesEnd(5s, 20s)) << "the page does not stand still\n" << Logs();
    }

    void Unlock() {
        phone->Unlock();
        const auto took = TimeToPicture(kUnlockedLimit);
        ASSERT_TRUE(took) << Logs();
        std::cout << "a picture " << took->count() << " ms after the phone was unlocked\n";
        EXPECT_TRUE(PicturesMove()) << Logs();
    }
};

TEST_F(CameraPageLock, AnUnlockedPhoneIsBackWithoutATouch) {
    ASSERT_NO_FATAL_FAILURE(StartAndWatch(true));
    SetTally(TallyState::Program);
    ASSERT_TRUE(Shows("air")) << Logs();
    ASSERT_EQ(phone->Latest("wake-lock").state, "held") << Logs();

    ASSERT_NO_FATAL_FAILURE(Lock());
    EXPECT_EQ(phone->Latest("wake-lock").state, "released") << Logs();
    SetTally(TallyState::Off);
    ASSERT_NO_FATAL_FAILURE(Unlock());
    EXPECT_TRUE(Shows("live")) << "the tally changed while it was locked\n" << Logs();
    EXPECT_TRUE(ShowsSentence("")) << Logs();
    EXPECT_TRUE(host.RunUntil([this] { return phone->Latest("wake-lock").state == "held"; }, 5s)) << Logs();

    ASSERT_NO_FATAL_FAILURE(Lock());
    SetTally(TallyState::Program);
    ASSERT_NO_FATAL_FAILURE(Unlock());
    EXPECT_TRUE(Shows("air")) << Logs();
    EXPECT_EQ(phone->HeldDevices(), "2") << "one camera, one microphone\n" << Logs();
    EXPECT_EQ(Troubles(*phone), "");
}

}  // namespace
}  // namespace camera_page
