#include "benchmarks/streams/StreamWatch.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <numeric>

namespace benchmarks {
namespace {

namespace stamp = support::frame_stamp;

constexpr int kWidth = stamp::kMinimumWidth;
constexpr int kHeight = stamp::kMinimumHeight;
constexpr std::int64_t kBytesPerRow = kWidth * 2 + 32;  // with padding

// A packed picture that carries a stamp, and nothing else.
class StampedPicture {
public:
    explicit StampedPicture(const stamp::Stamp& toCarry) {
        const auto bits = stamp::Encode(toCarry);
        for (int index = 0; index < stamp::kBits; ++index) {
            const stamp::Area area = stamp::BlockArea(index, kWidth);
            for (int y = area.y; y < area.y + area.height; ++y) {
                for (int x = area.x; x < area.x + area.width; ++x)
                    packed[static_cast<std::size_t>(y * kBytesPerRow + x * 2 + 1)] =
                        bits[static_cast<std::size_t>(index)] ? 235 : 16;
            }
        }
    }
    StreamWatch::Picture View() const { return {kWidth, kHeight, packed.data(), kBytesPerRow}; }

private:
    std::vector<std::uint8_t> packed = std::vector<std::uint8_t>(kBytesPerRow * kHeight, 128);
};

class StreamWatchTest : public testing::Test {
protected:
    // A picture with this number, stamped at `sentAtUs` and received `ageUs` later.
    void Receive(std::uint32_t number, std::uint64_t sentAtUs = 1'000'000, std::int64_t ageUs = 5'000) {
        const StampedPicture picture({number, sentAtUs});
        watch.OnPicture(picture.View(), static_cast<std::int64_t>(sentAtUs) + ageUs);
    }

    StreamWatch watch;
};

TEST_F(StreamWatchTest, CountsWithoutReadingStampsUnlessAskedTo) {
    watch.Begin(false);
    Receive(1);
    Receive(1);
    EXPECT_EQ(watch.Now().pictures, 2);
    EXPECT_EQ(watch.Now().distinct, 0);
    EXPECT_TRUE(watch.Now().latenciesMs.empty());
}

TEST_F(StreamWatchTest, CountsARepeatedPictureOnce) {
    watch.Begin(true);
    Receive(7);
    Receive(7);
    Receive(8);
    EXPECT_EQ(watch.Now().pictures, 3);
    EXPECT_EQ(watch.Now().distinct, 2);
    EXPECT_EQ(watch.Now().latenciesMs.size(), 2U);
}

TEST_F(StreamWatchTest, CountsPicturesThatWereLeftOut) {
    watch.Begin(true);
    Receive(7);
    Receive(10);
    EXPECT_EQ(watch.Now().distinct, 2);
    EXPECT_EQ(watch.Now().skipped, 2);
}

TEST_F(StreamWatchTest, AnotherRunOfTheSenderLeavesNothingOut) {
    watch.Begin(true);
    Receive(1000);
    Receive(3);
    EXPECT_EQ(watch.Now().distinct, 2);
    EXPECT_EQ(watch.Now().skipped, 0);
}

TEST_F(StreamWatchTest, MeasuresAgesFromTheStamp) {
    watch.Begin(true);
    Receive(1, 1'000'000, 5'000);
    Receive(2, 1'033'333, 12'500);
    EXPECT_EQ(watch.Now().latenciesMs, (std::vector<double>{5.0, 12.5}));
}

TEST_F(StreamWatchTest, TheStampsClockMayWrap) {
    constexpr std::uint64_t kWrap = 1ULL << 48;
    watch.Begin(true);
    const StampedPicture picture({1, kWrap - 1'000});
    watch.OnPicture(picture.View(), static_cast<std::int64_t>(kWrap) + 2'000);
    EXPECT_EQ(watch.Now().latenciesMs, std::vector<double>{3.0});
}

TEST_F(StreamWatchTest, ADestroyedStampIsNoPictureOfItsOwn) {
    watch.Begin(true);
    const std::vector<std::uint8_t> grey(kBytesPerRow * kHeight, 128);
    watch.OnPicture({kWidth, kHeight, grey.data(), kBytesPerRow}, 1'000);
    EXPECT_EQ(watch.Now().pictures, 1);
    EXPECT_EQ(watch.Now().distinct, 0);
}

TEST_F(StreamWatchTest, BeginsAnew) {
    watch.Begin(true);
    Receive(1);
    Receive(4);
    watch.Begin(true);
    Receive(9);
    EXPECT_EQ(watch.Now().pictures, 1);
    EXPECT_EQ(watch.Now().skipped, 0);
    EXPECT_EQ(watch.Now().latenciesMs.size(), 1U);
}

TEST_F(StreamWatchTest, RemembersTheVeryFirstPicture) {
    EXPECT_FALSE(watch.HasPicture());
    Receive(1, 1'000'000, 5'000);
    watch.Begin(true);
    Receive(2, 2'000'000, 5'000);
    EXPECT_EQ(watch.FirstPictureAtUs(), 1'005'000);
}

TEST(Percentiles, AreValuesThatOccurred) {
    std::vector<double> values(200);
    std::iota(values.rbegin(), values.rend(), 1.0);  // 200 down to 1
    const nlohmann::json found = Percentiles(values);
    EXPECT_EQ(found["p50"], 100.0);
    EXPECT_EQ(found["p99"], 198.0);
    EXPECT_EQ(found["max"], 200.0);
    EXPECT_EQ(Percentiles({3.0})["p99"], 3.0);
    EXPECT_TRUE(Percentiles({}).is_null());
}

TEST(ResultLine, TellsEveryStreamAndTheLatenciesOfAll) {
    StreamWatch::Result first;
    first.seconds = 2;
    first.pictures = 60;
    first.latenciesMs = {1.0};
    StreamWatch::Result second;
    second.latenciesMs = {3.0};
    const std::string line = ResultLine({first, second});
    EXPECT_EQ(line.back(), '\n');
    const nlohmann::json told = nlohmann::json::parse(line);
    EXPECT_EQ(told["event"], "result");
    ASSERT_EQ(told["streams"].size(), 2U);
    EXPECT_EQ(told["streams"][0]["pictures"], 60);
    EXPECT_EQ(told["latencyMs"]["max"], 3.0);
}

}  // namespace
}  // namespace benchmarks
