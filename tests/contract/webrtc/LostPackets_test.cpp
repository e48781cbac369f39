// Packets that are lost on the way: what the phone is asked for.
#include <gtest/gtest.h>

#include <algorithm>

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
            if (!askedAt) askedAt = Clock::now();
            happened.Add(media == Media::Picture ? "picture asked" : "sound asked", std::to_string(number));
        };
        call.Connect();
    }
    ~LostPackets() override { call.phone.Vanish(); }  // its callbacks end before what they use

    Record happened;
    // Read only after an entry of the record that was made later.
    Clock::time_point lostAt;
    std::optional<Clock::time_point> askedAt;
    Call call{{.codec = GetParam(), .framesPerSecond = 2, .pattern = "snow", .keyFrameDistance = 1}};
};

TEST_P(LostPackets, ThePhoneIsAskedForTheEndOfAPictureBeforeTheNextOneComes) {
    ASSERT_TRUE(call.WaitForPictures(3));
    call.phone.LosePacket(Media::Sound);
    const auto lostSound = happened.WaitFor("sound lost");
    ASSERT_TRUE(lostSound);
    call.phone.LosePacket(Media::Picture);
    const auto lostPicture = happened.WaitFor("picture lost");
    ASSERT_TRUE(lostPicture);
    const auto asked = happened.WaitFor("picture asked");
    ASSERT_TRUE(asked);
    EXPECT_EQ(asked->text, lostPicture->text);
    EXPECT_LT(*askedAt - lostAt, milliseconds(250));
    EXPECT_EQ(happened.Count("sound asked"), 0U) << "sound is concealed";
}

INSTANTIATE_TEST_SUITE_P(Codecs, LostPackets, testing::Values("H264", "VP8"));

}  // namespace
}  // namespace contract
