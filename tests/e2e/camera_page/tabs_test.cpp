// One phone, two tabs.
#include "tests/e2e/camera_page/StampedPageTest.h"

namespace camera_page {
namespace {

constexpr const char* kOpenElsewhere = "The camera is already open in another tab.";
constexpr const char* kTaken = "The camera was taken over by another tab.";

using CameraPageTabs = StampedPageTest;

TEST_F(CameraPageTabs, ASecondTabSaysSoAndLeavesTheFirstAlone) {
    ASSERT_NO_FATAL_FAILURE(StartAndWatch());
    phone->OpenTab(gate->Url());
    EXPECT_TRUE(ShowsSentence(kOpenElsewhere, 2, kLaunchLimit)) << Logs();
    phone->TakePicture("open-elsewhere");
    ASSERT_TRUE(Done(1)) << Logs();
    EXPECT_EQ(phone->State(2), "off") << Logs();
    EXPECT_EQ(phone->HeldDevices(2), "") << "it opened the camera\n" << Logs();
    EXPECT_TRUE(PicturesMove()) << Logs();
    EXPECT_EQ(phone->State(), "live") << Logs();
    EXPECT_EQ(phone->Offers(), 1U) << Logs();
    EXPECT_EQ(Troubles(*phone), "");
}

TEST_F(CameraPageTabs, WhoTakesOverGetsThePhoneAndTheOtherLetsTheCameraGo) {
    ASSERT_NO_FATAL_FAILURE(StartAndWatch());
    SetTally(host_runtime::TallyState::Program);
    ASSERT_TRUE(Shows("air")) << Logs();
    phone->OpenTab(gate->Url());
    ASSERT_TRUE(ShowsSentence(kOpenElsewhere, 2, kLaunchLimit)) << Logs();
    int owner = 1;
    for (const int taker : {2, 1}) {
        phone->SelectTab(taker);
        phone->Click("#problem-action");
        EXPECT_TRUE(Shows("air", taker)) << "the tally goes with the phone\n" << Logs();
        EXPECT_TRUE(ShowsSentence("", taker)) << Logs();
        EXPECT_TRUE(ShowsSentence(kTaken, owner)) << Logs();
        EXPECT_EQ(phone->State(owner), "off") << Logs();
        EXPECT_EQ(phone->HeldDevices(owner), "0") << Logs();
        EXPECT_TRUE(PicturesMove()) << "from tab " << taker << "\n" << Logs();
        EXPECT_EQ(phone->HeldDevices(taker), "2") << Logs();
        phone->SelectTab(owner);
        phone->TakePicture("taken-" + std::to_string(owner));
        owner = taker;
    }
    EXPECT_EQ(Troubles(*phone), "");
}

}  // namespace
}  // namespace camera_page
