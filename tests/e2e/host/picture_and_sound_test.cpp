// A phone's picture and sound reach the host through the plug-in.
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/e2e/host/HostHarness.h"
#include "tests/e2e/host/SimulatedPhone.h"

namespace e2e {
namespace {

using std::chrono::seconds;

struct Case {
    const char* codec;
    const char* address;
    const char* size;
    int width;
    int height;
};

void PrintTo(const Case& phoneCase, std::ostream* out) {
    *out << phoneCase.codec << " " << phoneCase.size;
}

class PictureAndSound : public testing::TestWithParam<Case> {};

TEST_P(PictureAndSound, ReachTheHost) {
    const Case& phoneCase = GetParam();
    std::vector<std::string> words{"--codec", phoneCase.codec, "--size", phoneCase.size};
    // Now and then libvpx leaves a block of the stamp as it was for some pictures, less often with more bits;
    // its own decoder shows the same.
    const bool vp9 = std::string_view(phoneCase.codec) == "vp9";
    if (vp9) words.insert(words.end(), {"--bitrate", "8000"});
    SimulatedPhone phone(phoneCase.address, words);
    HostHarness harness({60, 1});
    const auto pulled = harness.Add(phone.Address());
    ASSERT_TRUE(harness.RunUntil([&] { return pulled.pattern->Now().stampedPictures > 0; }, seconds(30)))
        << phone.Process().Errors();
    // Until the first second of sound has been through the source's clock.
    ASSERT_TRUE(harness.RunUntil([&] { return pulled.pattern->Now().beeps >= 2; }, seconds(30)));

    const auto before = pulled.pattern->Now();
    harness.RunFor(seconds(5));
    const auto after = pulled.pattern->Now();
    EXPECT_EQ(after.width, phoneCase.width);
    EXPECT_EQ(after.height, phoneCase.height);
    const std::int64_t pictures = after.newPictures - before.newPictures;
    EXPECT_GE(pictures, 140) << "of 150 sent";
    const std::int64_t stamped = after.stampedPictures - before.stampedPictures;
    EXPECT_GE(stamped, vp9 ? pictures * 9 / 10 : pictures) << "the stamps can be read back";
    EXPECT_GE(after.distinctFrames - before.distinctFrames, stamped - 2);
    EXPECT_EQ(after.framesOutOfOrder, 0);
    EXPECT_GE(after.beeps - before.beeps, 4);
    ASSERT_TRUE(after.beepPeriodUs);
    EXPECT_NEAR(static_cast<double>(*after.beepPeriodUs), 1e6, 0.1e6);
    EXPECT_GE(after.quietToneBlocks - before.quietToneBlocks, 90) << "the tone between the beeps, of 150";
}

INSTANTIATE_TEST_SUITE_P(Codecs, PictureAndSound,
                         testing::Values(Case{"h264", "127.0.10.2", "1280x720", 1280, 720},
                                         Case{"vp8", "127.0.10.3", "640x360", 640, 360},
                                         Case{"vp9", "127.0.10.5", "1280x720", 1280, 720}),
                         [](const auto& testInfo) { return std::string(testInfo.param.codec); });

TEST(StoredSource, RunsAgainAfterARestartOfTheHost) {
    SimulatedPhone phone("127.0.10.4", {"--size", "640x360"});
    std::string directory = testing::TempDir() + "halyard-e2e-XXXXXX";
    ASSERT_NE(mkdtemp(directory.data()), nullptr);
    std::string identifier;
    {
        HostHarness harness({30, 1}, directory);
        identifier = harness.Add(phone.Address()).source->Identifier();
    }
    HostHarness harness({30, 1}, directory);
    harness.Host().Sources().RestoreAll();
    const auto source = harness.Host().Sources().Find(identifier);
    ASSERT_TRUE(source);
    const auto pattern = std::make_shared<PulledPattern>();
    harness.Host().Puller().Add(source, pattern);
    EXPECT_TRUE(harness.RunUntil([&] { return pattern->Now().stampedPictures > 10; }, seconds(30)));
    std::filesystem::remove_all(directory);
}

}  // namespace
}  // namespace e2e
