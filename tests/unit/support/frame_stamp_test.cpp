#include "support/frame_stamp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace support::frame_stamp {
namespace {

constexpr int kBlack = 16;
constexpr int kWhite = 235;

// A grey picture that carries what is painted into it.
class Picture {
public:
    Picture(int pictureWidth, int pictureHeight)
        : width(pictureWidth),
          height(pictureHeight),
          luma(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 126) {}

    void Paint(const Area& area, int value) {
        for (int y = area.y; y < area.y + area.height; ++y) {
            for (int x = area.x; x < area.x + area.width; ++x)
                luma.at(Index(x, y)) = value;
        }
    }
    void Paint(const Stamp& stamp) {
        const auto bits = Encode(stamp);
        for (int index = 0; index < kBits; ++index)
            Paint(BlockArea(index, width), bits[static_cast<std::size_t>(index)] ? kWhite : kBlack);
    }
    // What lossy coding leaves of sharp edges: the mean of each pixel's neighbourhood.
    void Blur(int radius) {
        const std::vector<int> sharp = luma;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                int sum = 0;
                int count = 0;
                for (int nearY = std::max(0, y - radius); nearY <= std::min(height - 1, y + radius);
                     ++nearY) {
                    for (int nearX = std::max(0, x - radius); nearX <= std::min(width - 1, x + radius);
                         ++nearX) {
                        sum += sharp[Index(nearX, nearY)];
                        ++count;
                    }
                }
                luma[Index(x, y)] = sum / count;
            }
        }
    }
    std::optional<Stamp> ReadStamp() const {
        return Read(width, height, [this](int x, int y) { return luma.at(Index(x, y)); });
    }
    int Mean(const Area& area) const {
        return MeanLuma(area, [this](int x, int y) { return luma.at(Index(x, y)); });
    }

    const int width;
    const int height;

private:
    std::size_t Index(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
    }
    std::vector<int> luma;
};

TEST(FrameStamp, ComesBackAsItWasEncoded) {
    for (const Stamp& stamp :
         {Stamp{0, 0}, Stamp{1, 2}, Stamp{0xFFFFFFFF, 0xFFFF'FFFF'FFFFULL}, Stamp{123456, 987654321012ULL}}) {
        EXPECT_EQ(Decode(Encode(stamp)), stamp);
    }
}

TEST(FrameStamp, ClockIsCarriedModuloItsFortyEightBits) {
    const auto read = Decode(Encode(Stamp{7, (1ULL << 48) + 5}));
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->senderTimeUs, 5U);
}

TEST(FrameStamp, AgeIsTheTimeSinceTheSendersClock) {
    constexpr std::int64_t kNowUs = 123'456'789'012;
    EXPECT_EQ(AgeUs({1, kNowUs - 4'000}, kNowUs), 4'000U);
    EXPECT_EQ(AgeUs({1, kNowUs - 25'000'000}, kNowUs), 25'000'000U);
}

TEST(FrameStamp, AgeIsRightWhereTheClockBeginsAnew) {
    constexpr std::int64_t kTurnUs = std::int64_t{1} << 48;
    EXPECT_EQ(AgeUs({1, kTurnUs - 3'000}, kTurnUs + 2'000), 5'000U);
}

TEST(FrameStamp, AgeOfALoopsPictureIsTheTimeSinceItWasLastDue) {
    constexpr std::int64_t kLoopBegunUs = 12'340'000'000;
    EXPECT_EQ(AgeUs({0, 0}, kLoopBegunUs), 0U);
    EXPECT_EQ(AgeUs({30, 1'000'000}, kLoopBegunUs + 1'004'000), 4'000U);
    EXPECT_EQ(AgeUs({299, 9'966'666}, kLoopBegunUs + 3'334), 36'668U);
}

TEST(FrameStamp, DamagedByAnyOneBlockGivesNothing) {
    const auto bits = Encode(Stamp{4711, 1'234'567'890});
    for (std::size_t index = 0; index < bits.size(); ++index) {
        auto damaged = bits;
        damaged.flip(index);
        EXPECT_EQ(Decode(damaged), std::nullopt) << "block " << index;
    }
}

TEST(FrameStamp, PlainPicturesCarryNone) {
    for (const int value : {0, kBlack, 126, kWhite, 255}) {
        Picture picture(640, 360);
        picture.Paint(Area{0, 0, 640, 360}, value);
        EXPECT_EQ(picture.ReadStamp(), std::nullopt) << "luma " << value;
    }
}

TEST(FrameStamp, IsReadBackFromPicturesOfManySizes) {
    const Stamp stamp{4711, 1'234'567'890};
    for (const auto& [width, height] :
         {std::pair{256, 144}, {320, 180}, {639, 359}, {1280, 720}, {360, 640}}) {
        Picture picture(width, height);
        picture.Paint(stamp);
        EXPECT_EQ(picture.ReadStamp(), stamp) << width << " x " << height;
    }
}

TEST(FrameStamp, SurvivesBlurredEdges) {
    const Stamp stamp{815, 55};
    Picture picture(640, 360);
    picture.Paint(stamp);
    picture.Blur(4);
    EXPECT_EQ(picture.ReadStamp(), stamp);
}

TEST(FrameStamp, SmallPicturesCarryNone) {
    EXPECT_EQ(Read(255, 144, [](int, int) { return 0; }), std::nullopt);
    EXPECT_EQ(Read(256, 143, [](int, int) { return 0; }), std::nullopt);
    EXPECT_EQ(Read(0, 0, [](int, int) { return 0; }), std::nullopt);
}

TEST(FrameStamp, BlocksAndFlashLieApartInsideThePicture) {
    for (const auto& [width, height] : {std::pair{256, 144}, {639, 359}, {1920, 1080}}) {
        const Area flash = FlashArea(width, height);
        EXPECT_LE(flash.x + flash.width, width);
        EXPECT_LE(flash.y + flash.height, height);
        for (int index = 0; index < kBits; ++index) {
            const Area block = BlockArea(index, width);
            EXPECT_LE(block.x + block.width, width);
            EXPECT_LE(block.y + block.height, flash.y);
        }
    }
}

TEST(FrameStamp, FlashIsTheMeanOfItsArea) {
    Picture picture(320, 180);
    EXPECT_EQ(picture.Mean(FlashArea(320, 180)), 126);
    picture.Paint(FlashArea(320, 180), kWhite);
    EXPECT_EQ(picture.Mean(FlashArea(320, 180)), kWhite);
    EXPECT_EQ(picture.Mean(Area{5, 5, 0, 0}), 0);
}

}  // namespace
}  // namespace support::frame_stamp
