#include "apps/petrel/SimulateOptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

using petrel::CommandLine;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

CommandLine Read(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "petrel");
    return petrel::ReadCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

TEST(SimulateOptions, HaveDefaults) {
    const CommandLine line = Read({"simulate"});
    ASSERT_TRUE(line.options);
    EXPECT_THAT(line.options->addresses, ElementsAre("127.0.0.2"));
    EXPECT_EQ(line.options->video, "pattern");
    EXPECT_EQ(line.options->audio, "beeps");
    EXPECT_EQ(line.options->width, 1280);
    EXPECT_EQ(line.options->height, 720);
    EXPECT_EQ(line.options->framesPerSecond, 30);
    EXPECT_EQ(line.options->codec, petrel::VideoCodec::H264);
    EXPECT_TRUE(line.options->name.empty());
}

TEST(SimulateOptions, AreRead) {
    const CommandLine line =
        Read({"simulate", "--listen",  "127.0.0.7", "--phones",      "2",    "--video", "a.mp4", "--size",
              "640x360",  "--fps",     "25",        "--codec",       "vp8",  "--audio", "none",  "--name",
              "Camera",   "--bitrate", "900",       "--clock-error", "-100", "--quiet"});
    ASSERT_TRUE(line.options) << line.text;
    EXPECT_THAT(line.options->addresses, ElementsAre("127.0.0.7", "127.0.0.8"));
    EXPECT_EQ(line.options->video, "a.mp4");
    EXPECT_EQ(line.options->audio, "none");
    EXPECT_EQ(line.options->width, 640);
    EXPECT_EQ(line.options->height, 360);
    EXPECT_EQ(line.options->framesPerSecond, 25);
    EXPECT_EQ(line.options->codec, petrel::VideoCodec::Vp8);
    EXPECT_EQ(line.options->name, "Camera");
    EXPECT_EQ(petrel::VideoBitrateKbits(*line.options), 900);
    EXPECT_DOUBLE_EQ(line.options->clockErrorPpm, -100);
    EXPECT_TRUE(line.options->quiet);
}

TEST(SimulateOptions, TurnThePatternAlone) {
    EXPECT_EQ(Read({"simulate"}).options->secondsBetweenTurns, 0) << "never";
    const CommandLine line = Read({"simulate", "--rotate", "5", "--size", "640x256"});
    ASSERT_TRUE(line.options) << line.text;
    EXPECT_EQ(line.options->secondsBetweenTurns, 5);
}

TEST(SimulateOptions, EncodeThePatternOnceWhenAsked) {
    EXPECT_FALSE(Read({"simulate"}).options->encodeOnce);
    const CommandLine line = Read({"simulate", "--encode-once", "--codec", "vp8", "--rotate", "5"});
    ASSERT_TRUE(line.options) << line.text;
    EXPECT_TRUE(line.options->encodeOnce);
}

TEST(SimulateOptions, KnowThreeCodecs) {
    const auto codecOf = [](const char* name) {
        const CommandLine line = Read({"simulate", "--codec", name});
        return line.options ? std::string(petrel::EncodingName(line.options->codec)) : line.text;
    };
    EXPECT_EQ(codecOf("h264"), "H264");
    EXPECT_EQ(codecOf("vp8"), "VP8");
    EXPECT_EQ(codecOf("vp9"), "VP9");
    EXPECT_FALSE(Read({"simulate", "--codec", "VP10"}).options);
}

struct BadLine {
    const char* description;
    std::vector<const char*> arguments;
};
void PrintTo(const BadLine& line, std::ostream* out) {
    *out << line.description;
}

class BadCommandLine : public testing::TestWithParam<BadLine> {};

TEST_P(BadCommandLine, EndsWithCodeTwoAndASentence) {
    const CommandLine line = Read(GetParam().arguments);
    EXPECT_FALSE(line.options);
    EXPECT_EQ(line.exitCode, 2);
    EXPECT_FALSE(line.text.empty());
}

INSTANTIATE_TEST_SUITE_P(
    All, BadCommandLine,
    testing::Values(
        BadLine{"no verb", {}}, BadLine{"unknown verb", {"dance"}},
        BadLine{"unknown option", {"simulate", "--nonsense"}},
        BadLine{"address that is none", {"simulate", "--listen", "localhost"}},
        BadLine{"addresses that run out", {"simulate", "--listen", "255.255.255.255", "--phones", "2"}},
        BadLine{"no phones", {"simulate", "--phones", "0"}},
        BadLine{"size without a cross", {"simulate", "--size", "1280"}},
        BadLine{"size with words", {"simulate", "--size", "axb"}},
        BadLine{"odd size", {"simulate", "--size", "641x360"}},
        BadLine{"size too small for the stamp", {"simulate", "--size", "254x144"}},
        BadLine{"size too large", {"simulate", "--size", "7680x4320"}},
        BadLine{"no pictures", {"simulate", "--fps", "0"}},
        BadLine{"unknown codec", {"simulate", "--codec", "av1"}},
        BadLine{"empty name", {"simulate", "--name", ""}},
        BadLine{"the client's name", {"simulate", "--name", "Halyard"}},
        BadLine{"bitrate too low", {"simulate", "--bitrate", "1"}},
        BadLine{"a turn in no time", {"simulate", "--rotate", "0"}},
        BadLine{"a film that is turned", {"simulate", "--rotate", "5", "--video", "film.mp4"}},
        BadLine{"too narrow for the stamp when turned", {"simulate", "--rotate", "5", "--size", "320x180"}},
        BadLine{"a film that is encoded once", {"simulate", "--encode-once", "--video", "film.mp4"}},
        BadLine{"a loop by a clock that is wrong", {"simulate", "--encode-once", "--clock-error", "50"}},
        BadLine{"a clock that nobody has", {"simulate", "--clock-error", "1001"}}));

TEST(SimulateOptions, APhoneIsAnnouncedUnlessItsAddressIsOfUseToThisMachineOnly) {
    const petrel::SimulateOptions unsaid = *Read({"simulate"}).options;
    EXPECT_FALSE(petrel::IsAnnounced(unsaid, "127.0.0.2"));
    EXPECT_FALSE(petrel::IsAnnounced(unsaid, "127.255.0.2"));
    EXPECT_TRUE(petrel::IsAnnounced(unsaid, "192.168.1.20"));
    EXPECT_TRUE(petrel::IsAnnounced(unsaid, "0.0.0.0"));
    EXPECT_TRUE(petrel::IsAnnounced(*Read({"simulate", "--announce"}).options, "127.0.0.2"));
    EXPECT_FALSE(petrel::IsAnnounced(*Read({"simulate", "--no-announce"}).options, "192.168.1.20"));
}

TEST(SimulateOptions, HelpEndsWithCodeZero) {
    const CommandLine line = Read({"simulate", "--help"});
    EXPECT_FALSE(line.options);
    EXPECT_EQ(line.exitCode, 0);
    EXPECT_THAT(line.text, HasSubstr("--listen"));
}

TEST(SimulateOptions, AddressesCarryIntoTheNextNumber) {
    EXPECT_THAT(petrel::AddressesFrom("127.0.0.254", 3),
                ElementsAre("127.0.0.254", "127.0.0.255", "127.0.1.0"));
    EXPECT_THAT(petrel::AddressesFrom("127.0.0", 1), IsEmpty());
}

TEST(SimulateOptions, BitrateFollowsSizeAndRate) {
    petrel::SimulateOptions options;
    EXPECT_EQ(petrel::VideoBitrateKbits(options), 2764);
    options.width = 256;
    options.height = 144;
    EXPECT_EQ(petrel::VideoBitrateKbits(options), 300);
    options.width = 3840;
    options.height = 2160;
    EXPECT_EQ(petrel::VideoBitrateKbits(options), 20'000);
}

}  // namespace
