// What happens to a phone in the middle of a programme.
#include <signal.h>

#include <iostream>

#include "tests/e2e/camera_page/StampedPageTest.h"

namespace camera_page {
namespace {

// A gap that everybody sees but that loses nothing of what is said.
constexpr std::int64_t kShortGapUs = 1'000'000;

class CameraPageChange : public StampedPageTest {
protected:
    bool Until(const std::function<bool(const StampedPictures::Counts&)>& holds, std::chrono::seconds limit) {
        return host.RunUntil([&] { return holds(pictures->Now()); }, limit);
    }
};

TEST_F(CameraPageChange, ATurnedPhoneTurnsThePictureWithoutANewOffer) {
    ASSERT_NO_FATAL_FAILURE(StartAndWatch());
    pictures->BeginAnew();
    phone->Turn();
    ASSERT_TRUE(Until([](const auto& now) { return now.width == 360 && now.height == 640; }, 10s))
        << phone->Transcript();
    EXPECT_TRUE(PicturesMove());
    std::cout << "longest gap " << pictures->Now().longestGapUs / 1000 << " ms\n";
    EXPECT_LE(pictures->Now().longestGapUs, kShortGapUs);
    EXPECT_EQ(pictures->Now().outOfOrder, 0);
    EXPECT_EQ(phone->State(), "live");
    EXPECT_EQ(phone->Offers(), 1U) << Logs();
    EXPECT_EQ(Troubles(*phone), "");
}

TEST_F(CameraPageChange, TheOtherCameraTakesOverWithoutANewOffer) {
    ASSERT_NO_FATAL_FAILURE(StartAndWatch());
    EXPECT_LT(pictures->Now().lowerLuma, 100) << "the back camera's pictures are dark";
    pictures->BeginAnew();
    phone->Click("#flip");
    ASSERT_TRUE(Until([](const auto& now) { return now.lowerLuma > 150; }, 10s)) << phone->Transcript();
    EXPECT_TRUE(PicturesMove());
    std::cout << "longest gap " << pictures->Now().longestGapUs / 1000 << " ms\n";
    EXPECT_LE(pictures->Now().longestGapUs, kShortGapUs);
    EXPECT_EQ(phone->Offers(), 1U) << Logs();
    EXPECT_EQ(phone->HeldDevices(), "2") << "the first camera was let go\n" << Logs();
    EXPECT_EQ(Troubles(*phone), "");
}

TEST_F(CameraPageChange, ACameraThatThePhoneTakesAwayIsOpenedAgain) {
    ASSERT_NO_FATAL_FAILURE(StartAndWatch());
    pictures->BeginAnew();
    phone->EndCamera();
    ASSERT_TRUE(host.RunUntil([this] { return phone->Count("done") == 1; }, 10s)) << phone->Transcript();
    EXPECT_TRUE(PicturesMove()) << phone->Transcript();
    std::cout << "longest gap " << pictures->Now().longestGapUs / 1000 << " ms\n";
    EXPECT_LE(pictures->Now().longestGapUs, kShortGapUs);
    EXPECT_EQ(phone->Offers(), 1U) << Logs();
    EXPECT_EQ(Troubles(*phone), "");
}

TEST_F(CameraPageChange, APluginThatDiesAndComesBackIsServedAgain) {
    ASSERT_NO_FATAL_FAILURE(StartStampedPhone("640x360"));
    const tests::TemporaryDirectory state;
    for (int round = 0; round < 2; ++round) {
        const std::size_t before = phone->Count();
        e2e::ChildProcess halyard(HALYARD_PROGRAM,
                                  {"--source", kFirstPhone, "--probe", "--quiet", "--state", state.Path()});
        EXPECT_TRUE(phone->WaitForState("live", 30s, before)) << phone->Transcript() << halyard.Errors();
        const std::size_t whileLive = phone->Count();
        halyard.Signal(SIGKILL);
        EXPECT_TRUE(phone->WaitForState("waiting", 20s, whileLive)) << phone->Transcript();
    }
    EXPECT_EQ(Troubles(*phone), "");
}

TEST_F(CameraPageChange, TwoHostsWatchOnePhone) {
    ASSERT_NO_FATAL_FAILURE(StartAndWatch());
    const tests::TemporaryDirectory state;
    e2e::ChildProcess second(HALYARD_PROGRAM,
                             {"--source", kFirstPhone, "--probe", "--report", "-", "--state", state.Path()});
    const auto showsBoth = [this] {
        const std::string text = phone->Latest("state").text;
        return text.find("Halyard, Halyard 2") != std::string::npos;
    };
    EXPECT_TRUE(host.RunUntil(showsBoth, 20s)) << phone->Transcript();
    EXPECT_TRUE(PicturesMove());
    EXPECT_TRUE(host.RunUntil([&] { return pictures->Now().distinct > 60; }, 20s));
    EXPECT_TRUE(host.RunUntil([&] { return TellsALevel(second.Errors()); }, 20s)) << second.Errors();

    // The tally of one is enough, and is only its own.
    host.Host().Sources().SetTally(source->Identifier(), host_runtime::TallyState::Program);
    EXPECT_TRUE(host.RunUntil([this] { return phone->State() == "air"; }, 10s)) << phone->Transcript();
    second.Signal(SIGTERM);
    const auto code = second.WaitForEnd(20s);
    EXPECT_EQ(code.value_or(-1), 0) << second.Output() << second.Errors();
    EXPECT_TRUE(host.RunUntil([&] { return !showsBoth(); }, 10s)) << phone->Transcript();
    EXPECT_EQ(phone->State(), "air");
    EXPECT_TRUE(PicturesMove());
}

}  // namespace
}  // namespace camera_page
