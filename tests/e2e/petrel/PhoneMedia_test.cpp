// What a receiver sees and hears of a simulated phone, over real transports on this machine.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <set>

#include "apps/petrel/BeepTone.h"
#include "apps/petrel/PatternSource.h"
#include "tests/e2e/host/ProcessResources.h"
#include "tests/e2e/petrel/TestPhone.h"

namespace {

using nlohmann::json;
using petrel::SharedEncoder;
using petrel::SimulateOptions;
using petrel::VideoCodec;
using support::frame_stamp::Stamp;
using tests::ReceivedPicture;
using tests::TestPhone;

using Pictures = std::vector<ReceivedPicture>;
using Sound = std::vector<std::int16_t>;

// Strength of one frequency over 10 ms from `first`, as a fraction of full scale.
double Level(const Sound& sound, std::size_t first, double hertz) {
    constexpr std::size_t kFrames = 480;
    double real = 0;
    double imaginary = 0;
    for (std::size_t frame = 0; frame < kFrames; ++frame) {
        const double angle = 6.283185307179586 * hertz * static_cast<double>(frame) / petrel::kAudioRate;
        real += sound[first + frame] * std::cos(angle);
        imaginary += sound[first + frame] * std::sin(angle);
    }
    return 2 * std::hypot(real, imaginary) / kFrames / 32768;
}

// Starts of beeps, in samples from the first beep on.
std::vector<std::size_t> BeepStarts(const Sound& sound) {
    std::vector<std::size_t> starts;
    bool beeping = true;  // a beep that was cut off at the beginning does not count
    for (std::size_t first = 0; first + 480 <= sound.size(); first += 480) {
        const bool loud = Level(sound, first, 1000.0) > 0.2;
        if (loud && !beeping) starts.push_back(first);
        beeping = loud;
    }
    return starts;
}

SimulateOptions SmallOptions(VideoCodec codec = VideoCodec::H264) {
    SimulateOptions options;
    options.width = 640;
    options.height = 360;
    options.codec = codec;
    return options;
}

std::unique_ptr<petrel::PatternSource> PatternOf(const SimulateOptions& options) {
    const auto time = options.encodeOnce ? petrel::StampedTime::Asked : petrel::StampedTime::Painted;
    return std::make_unique<petrel::PatternSource>(options.width, options.height, options.secondsBetweenTurns,
                                                   time);
}

class PhoneMedia : public testing::Test {
protected:
    void StartStudio(const SimulateOptions& options = SmallOptions(), bool withSound = true) {
        std::string error;
        encoder = SharedEncoder::Make(options, PatternOf(options),
                                      withSound ? std::make_unique<petrel::BeepTone>() : nullptr, error);
        ASSERT_NE(encoder, nullptr) << error;
        loop = std::make_unique<petrel::ControlLoop>();
    }
    petrel::Studio Studio() { return {*loop, *encoder}; }

    // Every picture of the second half carries a stamp, and no frame number is missing there.
    static void ExpectUnbroken(const Pictures& pictures) {
        for (std::size_t index = pictures.size() / 2 + 1; index < pictures.size(); ++index) {
            ASSERT_TRUE(pictures[index].stamp && pictures[index - 1].stamp);
            EXPECT_EQ(pictures[index].stamp->frameNumber, pictures[index - 1].stamp->frameNumber + 1);
        }
    }

    std::unique_ptr<SharedEncoder> encoder;
    std::unique_ptr<petrel::ControlLoop> loop;
};

TEST_F(PhoneMedia, H264CarriesEveryStamp) {
    StartStudio();
    TestPhone phone(Studio());
    const auto receiver = phone.Offer("H264");
    ASSERT_TRUE(
        receiver->WaitUntil([](const Pictures& pictures, const Sound&) { return pictures.size() >= 90; }));
    const Pictures pictures = receiver->Pictures();
    EXPECT_EQ(pictures.back().width, 640);
    EXPECT_EQ(pictures.back().height, 360);
    ExpectUnbroken(pictures);
    EXPECT_GT(receiver->ExtendedPackets(), 0) << "the transport-wide sequence number was offered";
    EXPECT_THAT(receiver->Answer(), testing::HasSubstr("rtx/90000"));
    EXPECT_THAT(receiver->Answer(), testing::HasSubstr("a=ssrc-group:FID"));
}

TEST_F(PhoneMedia, Vp8CarriesEveryStamp) {
    StartStudio(SmallOptions(VideoCodec::Vp8));
    TestPhone phone(Studio());
    const auto receiver = phone.Offer("VP8");
    ASSERT_TRUE(
        receiver->WaitUntil([](const Pictures& pictures, const Sound&) { return pictures.size() >= 90; }));
    ExpectUnbroken(receiver->Pictures());
}

TEST_F(PhoneMedia, Vp9CarriesEveryStamp) {
    StartStudio(SmallOptions(VideoCodec::Vp9));
    TestPhone phone(Studio());
    const auto receiver = phone.Offer("VP9");
    ASSERT_TRUE(
        receiver->WaitUntil([](const Pictures& pictures, const Sound&) { return pictures.size() >= 90; }));
    ExpectUnbroken(receiver->Pictures());
}

class TurnedPhone : public PhoneMedia, public testing::WithParamInterface<VideoCodec> {};

// Each posture comes whole, with its stamps, and no picture is lost where they change.
TEST_P(TurnedPhone, WidthAndHeightChangePlacesInMidStream) {
    SimulateOptions options = SmallOptions(GetParam());
    options.secondsBetweenTurns = 1;
    StartStudio(options);
    TestPhone phone(Studio());
    const auto receiver = phone.Offer(petrel::EncodingName(GetParam()));
    const auto turns = [](const Pictures& pictures) {
        int changes = 0;
        for (std::size_t index = 1; index < pictures.size(); ++index)
            changes += pictures[index].width != pictures[index - 1].width ? 1 : 0;
        return changes;
    };
    ASSERT_TRUE(receiver->WaitUntil(
        [&turns](const Pictures& pictures, const Sound&) { return turns(pictures) >= 4; }));
    const Pictures pictures = receiver->Pictures();
    for (const ReceivedPicture& picture : pictures) {
        EXPECT_TRUE((picture.width == 640 && picture.height == 360) ||
                    (picture.width == 360 && picture.height == 640))
            << picture.width << "x" << picture.height;
    }
    ExpectUnbroken(pictures);
}

INSTANTIATE_TEST_SUITE_P(Codecs, TurnedPhone,
                         testing::Values(VideoCodec::H264, VideoCodec::Vp8, VideoCodec::Vp9));

TEST_F(PhoneMedia, BeepsOnceASecondOverAQuietTone) {
    StartStudio();
    TestPhone phone(Studio());
    const auto receiver = phone.Offer("H264");
    ASSERT_TRUE(receiver->WaitUntil(
        [](const Pictures&, const Sound& sound) { return sound.size() >= 4 * petrel::kAudioRate; }));
    const Sound sound = receiver->Sound();
    const std::vector<std::size_t> beeps = BeepStarts(sound);
    ASSERT_GE(beeps.size(), 2U);
    EXPECT_NEAR(static_cast<double>(beeps[1] - beeps[0]), petrel::kAudioRate, 960.0);
    // Half way between two beeps only the quiet tone sounds, at -40 dBFS.
    EXPECT_NEAR(Level(sound, beeps[0] + petrel::kAudioRate / 2, 440.0), 0.01, 0.004);
    EXPECT_LT(Level(sound, beeps[0] + petrel::kAudioRate / 2, 1000.0), 0.004);
}

TEST_F(PhoneMedia, FlashesOnceASecond) {
    StartStudio();
    TestPhone phone(Studio());
    const auto receiver = phone.Offer("H264");
    ASSERT_TRUE(
        receiver->WaitUntil([](const Pictures& pictures, const Sound&) { return pictures.size() >= 100; }));
    std::vector<std::uint64_t> startsUs;
    bool white = true;
    for (const ReceivedPicture& picture : receiver->Pictures()) {
        const bool isWhite = picture.flashLuma > 126;
        if (isWhite && !white && picture.stamp) startsUs.push_back(picture.stamp->senderTimeUs);
        white = isWhite;
    }
    ASSERT_GE(startsUs.size(), 2U);
    // A busy machine may leave out the first white picture, but not all three.
    EXPECT_NEAR(static_cast<double>(startsUs[1] - startsUs[0]), 1e6, 0.1e6);
}

TEST_F(PhoneMedia, AnEarlierMadeNewOfferReplacesTheMedia) {
    StartStudio();
    TestPhone phone(Studio());
    for (int round = 0; round < 3; ++round) {
        const auto receiver = phone.Offer("H264");
        EXPECT_TRUE(receiver->WaitUntil([](const Pictures& pictures, const Sound&) {
            return pictures.size() >= 10;
        })) << "offer "
            << round;
        phone.Settle();
        EXPECT_EQ(petrel::PeerMedia::Alive(), 1);
    }
}

TEST_F(PhoneMedia, OneEncodingServesAllClients) {
    StartStudio();
    TestPhone first(Studio(), "127.0.0.2");
    TestPhone second(Studio(), "127.0.0.3");
    const auto one = first.Offer("H264");
    const auto other = second.Offer("H264");
    const auto enough = [](const Pictures& pictures, const Sound&) { return pictures.size() >= 60; };
    ASSERT_TRUE(one->WaitUntil(enough));
    ASSERT_TRUE(other->WaitUntil(enough));
    std::set<std::uint64_t> times;
    for (const ReceivedPicture& picture : one->Pictures()) {
        if (picture.stamp) times.insert(picture.stamp->senderTimeUs);
    }
    const Pictures others = other->Pictures();
    const auto common = std::count_if(others.begin(), others.end(), [&times](const ReceivedPicture& picture) {
        return picture.stamp && times.contains(picture.stamp->senderTimeUs);
    });
    EXPECT_GE(common, 30);
}

TEST_F(PhoneMedia, WithoutSoundTheSectionIsInactive) {
    StartStudio(SmallOptions(), false);
    TestPhone phone(Studio());
    const auto receiver = phone.Offer("H264");
    ASSERT_TRUE(
        receiver->WaitUntil([](const Pictures& pictures, const Sound&) { return pictures.size() >= 10; }));
    const std::string answer = receiver->Answer();
    const std::string audio = answer.substr(answer.find("m=audio"));
    EXPECT_THAT(audio, testing::StartsWith("m=audio 9 "));
    EXPECT_THAT(audio, testing::HasSubstr("a=inactive"));
    EXPECT_TRUE(receiver->Sound().empty());
}

TEST_F(PhoneMedia, AnOfferWithoutTheCodecIsAnsweredWithSoundAlone) {
    StartStudio(SmallOptions(VideoCodec::Vp8));
    TestPhone phone(Studio());
    const auto receiver = phone.Offer("H264");
    ASSERT_TRUE(receiver->WaitForAnswer());
    const std::string answer = receiver->Answer();
    EXPECT_THAT(answer, testing::HasSubstr("m=video 0 "));
    EXPECT_THAT(answer, testing::HasSubstr("m=audio 9 "));
    EXPECT_THAT(answer, testing::HasSubstr("a=sendonly"));
    EXPECT_THAT(answer, testing::HasSubstr("a=group:BUNDLE audio1"));
}

TEST_F(PhoneMedia, ClientsThatComeAndGoLeaveNothingBehind) {
    StartStudio();
    std::optional<e2e::ProcessResources> afterWarmUp;
    for (int round = 0; round < 12; ++round) {
        {
            TestPhone phone(Studio());
            const auto receiver = phone.Offer("H264");
            ASSERT_TRUE(receiver->WaitUntil(
                [](const Pictures& pictures, const Sound&) { return pictures.size() >= 2; }));
        }
        if (round == 3) afterWarmUp = e2e::OwnResources();
    }
    const e2e::ProcessResources now = e2e::OwnResources();
    EXPECT_LE(now.threads, afterWarmUp->threads) << e2e::Text(now);
    EXPECT_LE(now.descriptors, afterWarmUp->descriptors) << e2e::Text(now);
}

TEST_F(PhoneMedia, AClientThatLeavesMidNegotiationIsForgotten) {
    StartStudio();
    for (int round = 0; round < 10; ++round) {
        TestPhone phone(Studio());
        const auto receiver = phone.Offer("H264");
        if (round % 2 == 0) {
            EXPECT_TRUE(receiver->WaitForAnswer());
        }
    }
    TestPhone phone(Studio());
    const auto receiver = phone.Offer("H264");
    EXPECT_TRUE(
        receiver->WaitUntil([](const Pictures& pictures, const Sound&) { return pictures.size() >= 10; }));
}

// Each line of a good offer is left out, doubled and cut short in turn; whatever still looks like an offer
// reaches the engine.
TEST_F(PhoneMedia, DamagedOffersHarmNothing) {
    StartStudio();
    TestPhone phone(Studio());
    std::string offer;
    {
        tests::TestReceiver receiver("H264", phone.Identity().peersIdentifier, [&offer](std::string text) {
            const json message = json::parse(text);
            if (message.at("action") == "masterMadeOffer") offer = message.at("sdp");
        });
        receiver.Offer();
    }
    ASSERT_FALSE(offer.empty());
    const auto say = [&phone](const std::string& sdp) {
        phone.Say(
            json{{"action", "masterMadeOffer"}, {"peersIdentifier", ""}, {"sdp", sdp}, {"type", "offer"}}
                .dump());
    };
    for (std::size_t start = 0; start < offer.size(); start = offer.find('\n', start) + 1) {
        const std::size_t end = offer.find('\n', start) + 1;
        const std::string line = offer.substr(start, end - start);
        say(offer.substr(0, start) + offer.substr(end));
        say(offer.substr(0, end) + line + offer.substr(end));
        say(offer.substr(0, start) + line.substr(0, line.size() / 2) + "\r\n" + offer.substr(end));
        phone.Settle();
    }
    const auto receiver = phone.Offer("H264");
    EXPECT_TRUE(
        receiver->WaitUntil([](const Pictures& pictures, const Sound&) { return pictures.size() >= 10; }));
}

// What was encoded once arrives whole, again and again, and its stamps tell when each picture was due.
TEST_F(PhoneMedia, PicturesEncodedOnceAreStampedWithTheMomentTheyAreSent) {
    SimulateOptions options = SmallOptions();
    options.encodeOnce = true;
    StartStudio(options);
    TestPhone phone(Studio());
    const auto receiver = phone.Offer("H264");
    constexpr std::size_t kLoop = 300;
    ASSERT_TRUE(receiver->WaitUntil(
        [](const Pictures& pictures, const Sound&) { return pictures.size() >= kLoop + 60; }));
    const Pictures pictures = receiver->Pictures();
    std::vector<std::uint64_t> agesUs;
    for (std::size_t index = 60; index < pictures.size(); ++index) {
        ASSERT_TRUE(pictures[index].stamp && pictures[index - 1].stamp) << index;
        EXPECT_EQ(pictures[index].stamp->frameNumber, (pictures[index - 1].stamp->frameNumber + 1) % kLoop);
        const auto arrivalUs = static_cast<std::int64_t>(pictures[index].arrivalUs);
        agesUs.push_back(support::frame_stamp::AgeUs(*pictures[index].stamp, arrivalUs));
    }
    const auto middle = agesUs.begin() + static_cast<std::ptrdiff_t>(agesUs.size() / 2);
    std::nth_element(agesUs.begin(), middle, agesUs.end());
    EXPECT_LT(*middle, 100'000U);
    EXPECT_GT(BeepStarts(receiver->Sound()).size(), 5U) << "sound is live";
}

// Not a rule of its own, but the figures that the whole house builds on.
TEST_F(PhoneMedia, PicturesArriveWithinAFrame) {
    SimulateOptions options;
    StartStudio(options);
    TestPhone phone(Studio());
    const auto offered = std::chrono::steady_clock::now().time_since_epoch();
    const auto offeredUs =
        static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(offered).count());
    const auto receiver = phone.Offer("H264");
    ASSERT_TRUE(
        receiver->WaitUntil([](const Pictures& pictures, const Sound&) { return pictures.size() >= 150; }));
    const Pictures pictures = receiver->Pictures();
    std::vector<double> latencies;
    for (const ReceivedPicture& picture : pictures) {
        if (!picture.stamp) continue;
        latencies.push_back(static_cast<double>(picture.arrivalUs - picture.stamp->senderTimeUs) / 1000);
    }
    ASSERT_GE(latencies.size(), 140U);
    std::sort(latencies.begin(), latencies.end());
    RecordProperty("firstPictureMs", std::to_string((pictures.front().arrivalUs - offeredUs) / 1000));
    RecordProperty("latencyP50Ms", std::to_string(latencies[latencies.size() / 2]));
    RecordProperty("latencyP99Ms", std::to_string(latencies[latencies.size() * 99 / 100]));
    EXPECT_LT(latencies[latencies.size() / 2], 33.0);
}

}  // namespace
