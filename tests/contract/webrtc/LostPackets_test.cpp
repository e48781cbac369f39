// Packets that are lost on the way: what the phone is asked for.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <optional>
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
            happened.Add(media == Media::Picture ? "picture asked" : "sound asked", std::to_string(number),
                         std::to_string(
                             std::chrono::duration_cast<milliseconds>(Clock::now() - lostAt.load()).count()));
        };
        call.Connect();
    }
    ~LostPackets() override { call.phone.Vanish(); }  // its callbacks end before what they use

    // On a busy machine the packets of a picture come so slowly that others are asked for, too.
    std::optional<milliseconds> AskedAfter(const std::string& number) {
        std::optional<milliseconds> after;
        happened.WaitUntil([&number, &after](const Entries& all) {
            for (const Record::Entry& entry : all) {
                if (entry.what == "picture asked" && entry.text == number)
                    after = milliseconds(std::stoll(entry.type));
            }
            return after.has_value();
        });
        return after;
    }

    Record happened;
    std::atomic<Clock::time_point> lostAt{};
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
    const auto after = AskedAfter(lostPicture->text);
    ASSERT_TRUE(after);
    EXPECT_LT(*after, milliseconds(800));
    EXPECT_EQ(happened.Count("sound asked"), 0U) << "sound is concealed";
}

INSTANTIATE_TEST_SUITE_P(Codecs, LostPackets, testing::Values("H264", "VP8"));

}  // namespace
}  // namespace contract
