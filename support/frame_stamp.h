// Where the test pattern carries its frame number and the sender's clock: three rows of 32 black or white
// blocks along the top edge, large enough to survive lossy coding, and an area that flashes in time with
// the beep. The sender paints it, the receiver reads it back.
#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <optional>

namespace support::frame_stamp {

inline constexpr int kColumns = 32;
inline constexpr int kRows = 3;
inline constexpr int kBits = kColumns * kRows;
inline constexpr int kMinimumWidth = 256;  // 8 pixels a block
inline constexpr int kMinimumHeight = 144;

inline constexpr double kBeepHertz = 1000.0;
inline constexpr double kBeepLevel = 0.5;  // of full scale
inline constexpr double kQuietToneHertz = 440.0;
inline constexpr double kQuietToneLevel = 0.01;  // -40 dBFS
inline constexpr std::int64_t kFlashPeriodUs = 1'000'000;
inline constexpr std::int64_t kFlashLengthUs = 100'000;

// A sender that shows the same pictures again and again stamps each with its time in the loop, which begins
// at the whole multiples of its length on the sender's clock.
inline constexpr std::uint64_t kLoopUs = 10'000'000;
inline constexpr std::uint64_t kClockMask = 0xFFFF'FFFF'FFFFULL;

struct Stamp {
    std::uint32_t frameNumber = 0;
    std::uint64_t senderTimeUs = 0;  // the sender's steady clock, 48 bits
    friend bool operator==(const Stamp&, const Stamp&) = default;
};

struct Area {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

// How long ago that was, by the sender's clock; less than the length of a loop for a stamp of one.
constexpr std::uint64_t AgeUs(const Stamp& stamp, std::int64_t nowUs) {
    const std::uint64_t ageUs = (static_cast<std::uint64_t>(nowUs) - stamp.senderTimeUs) & kClockMask;
    return stamp.senderTimeUs < kLoopUs ? ageUs % kLoopUs : ageUs;
}

// Block `index` counts along the rows from the top left.
constexpr Area BlockArea(int index, int pictureWidth) {
    const int size = pictureWidth / kColumns;
    return {(index % kColumns) * size, (index / kColumns) * size, size, size};
}

// White while the beep sounds, black otherwise.
constexpr Area FlashArea(int pictureWidth, int pictureHeight) {
    return {pictureWidth * 3 / 4, pictureHeight * 3 / 4, pictureWidth / 4, pictureHeight / 4};
}

constexpr std::uint16_t Checksum(const Stamp& stamp) {
    std::uint32_t sum = 0x5A5A;  // so that an all-black picture carries no valid stamp
    const std::uint64_t words[2] = {stamp.frameNumber, stamp.senderTimeUs};
    for (const std::uint64_t word : words) {
        for (int shift = 0; shift < 64; shift += 16) {
            sum = sum * 31 + static_cast<std::uint32_t>((word >> shift) & 0xFFFF);
        }
    }
    return static_cast<std::uint16_t>(sum ^ (sum >> 16));
}

// Most significant bit first: 32 of the frame number, 48 of the clock, 16 of the checksum.
inline std::bitset<kBits> Encode(const Stamp& stamp) {
    std::bitset<kBits> bits;
    const Stamp carried{stamp.frameNumber, stamp.senderTimeUs & kClockMask};
    int position = 0;
    const auto append = [&bits, &position](std::uint64_t value, int count) {
        for (int bit = count - 1; bit >= 0; --bit)
            bits[static_cast<std::size_t>(position++)] = ((value >> bit) & 1U) != 0;
    };
    append(carried.frameNumber, 32);
    append(carried.senderTimeUs, 48);
    append(Checksum(carried), 16);
    return bits;
}

// Nothing when the checksum does not fit: no stamp, or one that coding destroyed.
inline std::optional<Stamp> Decode(const std::bitset<kBits>& bits) {
    int position = 0;
    const auto take = [&bits, &position](int count) {
        std::uint64_t value = 0;
        for (int bit = 0; bit < count; ++bit)
            value = (value << 1) | (bits[static_cast<std::size_t>(position++)] ? 1U : 0U);
        return value;
    };
    Stamp stamp;
    stamp.frameNumber = static_cast<std::uint32_t>(take(32));
    stamp.senderTimeUs = take(48);
    if (take(16) != Checksum(stamp)) return std::nullopt;
    return stamp;
}

// Mean luma (0 to 255) of the middle of an area. `lumaAt(x, y)` reads one pixel.
template <class LumaAt>
int MeanLuma(const Area& area, LumaAt lumaAt) {
    int sum = 0;
    int count = 0;
    for (int y = area.y + area.height / 4; y < area.y + area.height - area.height / 4; ++y) {
        for (int x = area.x + area.width / 4; x < area.x + area.width - area.width / 4; ++x) {
            sum += lumaAt(x, y);
            ++count;
        }
    }
    return count > 0 ? sum / count : 0;
}

// Reads the stamp of a picture; nothing when it carries none.
template <class LumaAt>
std::optional<Stamp> Read(int pictureWidth, int pictureHeight, LumaAt lumaAt) {
    if (pictureWidth < kMinimumWidth || pictureHeight < kMinimumHeight) return std::nullopt;
    std::bitset<kBits> bits;
    for (int index = 0; index < kBits; ++index) {
        bits[static_cast<std::size_t>(index)] = MeanLuma(BlockArea(index, pictureWidth), lumaAt) >= 126;
    }
    return Decode(bits);
}

}  // namespace support::frame_stamp
