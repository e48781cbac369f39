// A real browser is the phone: what its camera and microphone were given arrives at the host through the
// plug-in, and its tally light follows the host.
#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

#include "tests/e2e/browser/BrowserPhone.h"
#include "tests/e2e/browser/CameraExpectations.h"
#include "tests/e2e/own_address.h"

namespace browser {
namespace {

using namespace std::chrono_literals;

const std::string kAddress = e2e::OwnAddress(0);
constexpr auto kLaunchLimit = 60s;  // a browser on a busy machine
constexpr auto kMediaLimit = 30s;

class BrowserTest : public testing::Test {
protected:
    void SetUp() override {
        folder = std::filesystem::path(testing::TempDir()) / ("browser_phone_" + std::to_string(getpid()));
        std::filesystem::create_directories(folder);
        ASSERT_TRUE(WriteCameraFile(folder / "camera.y4m"));
        ASSERT_TRUE(WriteMicrophoneFile(folder / "microphone.wav"));
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    void StartPhone(const std::string& codec, bool onlyThatCodec = false) {
        phone = std::make_unique<BrowserPhone>(BrowserPhoneOptions{
            kAddress, folder / "camera.y4m", folder / "microphone.wav", codec, onlyThatCodec});
        ASSERT_TRUE(phone->WaitFor("listening", kLaunchLimit)) << phone->Transcript();
    }

    // The browser is the source; its first picture has arrived.
    void Connect() {
        source = host.Host().Sources().Add(kAddress);
        ASSERT_TRUE(source);
        host.Host().Puller().Add(source, media);
        ASSERT_TRUE(host.RunUntil([this] { return media->FirstPictureAtUs() != 0; }, kMediaLimit))
            << phone->Transcript();
        std::cout << "first picture after "
                  << (media->FirstPictureAtUs() - source->FirstActivatedAtUs()) / 1000 << " ms\n";
    }

    // What the browser really encodes.
    std::string SentCodec() {
        host.RunUntil([this] { return !phone->Latest("sending").name.empty(); }, kMediaLimit);
        const PhoneEvent sending = phone->Latest("sending");
        std::cout << "codec " << sending.codec << " by " << sending.encoder << "\n";
        return sending.codec;
    }

    std::filesystem::path folder;
    std::unique_ptr<BrowserPhone> phone;
    std::shared_ptr<PulledMedia> media = std::make_shared<PulledMedia>();
    e2e::HostHarness host;
    std::shared_ptr<host_runtime::Source> source;
    const CameraExpectations expect{host, *media};
};

class BrowserPicture : public BrowserTest, public testing::WithParamInterface<const char*> {};

TEST_P(BrowserPicture, IsWhatItsCameraSaw) {
    ASSERT_NO_FATAL_FAILURE(StartPhone(GetParam()));
    ASSERT_NO_FATAL_FAILURE(Connect());
    const std::string codec = SentCodec();
    EXPECT_FALSE(codec.empty()) << phone->Transcript();
    if (*GetParam() != '\0') {
        EXPECT_EQ(codec, GetParam());
    }
    expect.SharpPictures();
    expect.CameraColours();
    expect.EveryFrame();
    expect.CleanTone();
}

INSTANTIATE_TEST_SUITE_P(OfEachCodec, BrowserPicture, testing::Values("", "H264", "VP8", "VP9"),
                         [](const auto& test) {
                             return *test.param == '\0' ? std::string("AsItLikes") : std::string(test.param);
                         });

// The offer names H.264 first; a phone that has no encoder for it answers with what it has.
TEST_F(BrowserTest, MayAnswerWithVp9Alone) {
    ASSERT_NO_FATAL_FAILURE(StartPhone("VP9", true));
    ASSERT_NO_FATAL_FAILURE(Connect());
    EXPECT_EQ(phone->Latest("answered").codec, "VP9") << phone->Transcript();
    EXPECT_EQ(SentCodec(), "VP9");
    expect.SharpPictures();
}

TEST_F(BrowserTest, ACameraThatIsTakenAwayIsNegotiatedAnew) {
    ASSERT_NO_FATAL_FAILURE(StartPhone(""));
    ASSERT_NO_FATAL_FAILURE(Connect());
    ASSERT_FALSE(SentCodec().empty());
    phone->Freeze();
    ASSERT_TRUE(phone->WaitFor("frozen", 10s)) << phone->Transcript();
    ASSERT_TRUE(host.RunUntil([this] { return phone->Count("answered") >= 2; }, 15s)) << phone->Transcript();
    const auto number = [this] {
        const auto picture = media->LatestPicture();
        return picture ? FrameNumberOf(*picture) : std::nullopt;
    };
    const auto standing = number();
    EXPECT_TRUE(host.RunUntil([&] { return number() && number() != standing; }, kMediaLimit))
        << phone->Transcript();
    expect.EveryFrame();
}

TEST_F(BrowserTest, TallyLightFollowsTheHost) {
    ASSERT_NO_FATAL_FAILURE(StartPhone(""));
    ASSERT_NO_FATAL_FAILURE(Connect());
    const auto shows = [this](bool on) {
        return host.RunUntil(
            [this, on] {
                const PhoneEvent tally = phone->Latest("tally");
                return !tally.name.empty() && tally.value == on;
            },
            10s);
    };
    using host_runtime::TallyState;
    host_runtime::SourceList& sources = host.Host().Sources();
    sources.SetTally(source->Identifier(), TallyState::Program);
    EXPECT_TRUE(shows(true)) << phone->Transcript();
    sources.SetTally(source->Identifier(), TallyState::Off);
    EXPECT_TRUE(shows(false)) << phone->Transcript();
}

}  // namespace
}  // namespace browser
