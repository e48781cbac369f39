#include "renderers/SampleRing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace {

constexpr auto kSize = static_cast<std::int64_t>(SampleRing::kSize);

std::vector<std::uint8_t> ReadBytes(SampleRing& ring, std::uint64_t position, std::int64_t count) {
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(count), 0xEE);
    EXPECT_TRUE(ring.Read(position, bytes.data(), count));
    return bytes;
}

// The lengths of the pieces, in order; -1 when refused.
std::vector<std::int64_t> Pieces(SampleRing& ring, std::uint64_t position, std::int64_t count) {
    std::vector<std::int64_t> lengths;
    const bool accepted = ring.Access(position, count, [&lengths](const std::uint8_t*, std::uint64_t length) {
        lengths.push_back(static_cast<std::int64_t>(length));
    });
    if (!accepted) lengths.push_back(-1);
    return lengths;
}

TEST(SampleRing, HoldsOneSecondOfZeros) {
    SampleRing ring;
    EXPECT_EQ(kSize, 48000 * 4);
    EXPECT_THAT(ReadBytes(ring, 0, kSize), testing::Each(0));
}

TEST(SampleRing, RangeWithinTheBlockIsOnePiece) {
    SampleRing ring;
    EXPECT_THAT(Pieces(ring, 0, 6400), testing::ElementsAre(6400));
    EXPECT_THAT(Pieces(ring, SampleRing::kSize - 6400, 6400), testing::ElementsAre(6400));
    EXPECT_THAT(Pieces(ring, 0, kSize), testing::ElementsAre(kSize));
}

TEST(SampleRing, WrappingRangeIsTwoPieces) {
    SampleRing ring;
    EXPECT_THAT(Pieces(ring, SampleRing::kSize - 100, 6400), testing::ElementsAre(100, 6300));
    EXPECT_THAT(Pieces(ring, 1, kSize), testing::ElementsAre(kSize - 1, 1));
}

TEST(SampleRing, PositionWrapsForEver) {
    SampleRing ring;
    EXPECT_THAT(Pieces(ring, SampleRing::kSize * 1000 + SampleRing::kSize - 4, 8),
                testing::ElementsAre(4, 4));
    const std::vector<std::uint8_t> source = {1, 2, 3, 4};
    EXPECT_TRUE(ring.Write(SampleRing::kSize * 7 + 12, source.data(), 4));
    EXPECT_EQ(ReadBytes(ring, 12, 4), source);
}

TEST(SampleRing, RefusesNegativeAndOversizedCountsWithoutCallingTheHandler) {
    SampleRing ring;
    EXPECT_THAT(Pieces(ring, 0, -1), testing::ElementsAre(-1));
    EXPECT_THAT(Pieces(ring, 0, INT64_MIN), testing::ElementsAre(-1));
    EXPECT_THAT(Pieces(ring, 0, kSize + 1), testing::ElementsAre(-1));
    EXPECT_THAT(Pieces(ring, 0, INT64_MAX), testing::ElementsAre(-1));
}

TEST(SampleRing, WrittenBytesAreReadBackAcrossTheEnd) {
    SampleRing ring;
    std::vector<std::uint8_t> source(6400);
    std::iota(source.begin(), source.end(), std::uint8_t{1});
    const std::uint64_t position = SampleRing::kSize - 1000;
    EXPECT_TRUE(ring.Write(position, source.data(), 6400));
    EXPECT_EQ(ReadBytes(ring, position, 6400), source);
    EXPECT_EQ(ReadBytes(ring, 0, 1).front(), source[1000]);
}

TEST(SampleRing, ClearZeroesEverything) {
    SampleRing ring;
    const std::vector<std::uint8_t> source(SampleRing::kSize, 9);
    EXPECT_TRUE(ring.Write(0, source.data(), kSize));
    ring.Clear();
    EXPECT_THAT(ReadBytes(ring, 0, kSize), testing::Each(0));
}

}  // namespace
