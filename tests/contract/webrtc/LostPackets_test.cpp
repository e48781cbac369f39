// Packets that are lost on the way: what the phone is asked for.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>

#include "tests/contract/webrtc/Call.h"

namespace contract {
namespace {

using Entries = std::vector<Record::Entry>;
using Media = TestPhone::Media;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Pictures come so rarely that the next one cannot be what shows the loss.
class LostPackets : public testing::TestWithParam<const char*> {
protected:
    LostPackets() {
        call.phone.onPacketLost = [this](Media media, std::uint16_t number) {
            lostAt = Clock::now();
            happened.Add(media == Media::Picture ? "picture lost" : "sound lost", std::to_string(number));
        };
        call.phone.onPacketRequest = [this](Media media, std::uint16_t number) {
            happened.Add(media == Media::Picture ? "picture asked" : "sound asked", std::to_string(number));
        };
        call.Connect();
    }
    ~LostPackets() override { call.phone.Vanish(); }  // its callbacks end before what they use

    // On a busy machine the packets of a picture come so slowly that others are asked for, too.
    bool WaitUntilAskedFor(const std::string& number) {
        return happened.WaitUntil([&number](const Entries& all) {
            return std::any_of(all.begin(), all.end(), [&number](const Record::Entry& entry) {
                return entry.what == "picture asked" && entry.text == number;
            });
        });
    }

    Record happened;
    Clock::time_point lostAt;  // may be read when the loss is in the record
    Call call{{.codec = GetParam(), .framesPerSecond = 1, .pattern = "snow", .keyFrameDistance = 1}};
};

TEST_P(LostPackets, ThePhoneIsAskedForTheEndOfAPictureBeforeTheNextOneComes) {
    ASSERT_TRUE(call.WaitForPictures(2));
    call.phone.LosePacket(Media::Sound);
    const auto lostSound = happened.WaitFor("sound lost");
    ASSERT_TRUE(lostSound);
    call.phone.LosePacket(Media::Picture);
    const auto lostPicture = happened.WaitFor("picture lost");
    ASSERT_TRUE(lostPicture);
    ASSERT_TRUE(WaitUntilAskedFor(lostPicture->text));
    EXPECT_LT(Clock::now() - lostAt, milliseconds(800));
    EXPECT_EQ(happened.Count("sound asked"), 0U) << "sound is concealed";
}

INSTANTIATE_TEST_SUITE_P(Codecs, LostPackets, testing::Values("H264", "VP8"));

}  // namespace
}  // namespace contract
