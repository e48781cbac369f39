// Which block of received sound belongs to the time of a pull. A consumer's clock maps presentation time to
// ring frames; blocks lie on a grid of 1600 frames (a thirtieth of a second at 48 kHz).
#pragma once

#include <cstdint>

namespace audio_position {

inline constexpr std::int64_t kSampleRate = 48000;
inline constexpr std::int64_t kChannels = 2;
inline constexpr std::int64_t kBlockFrames = 1600;
inline constexpr std::int64_t kBytesPerFrame = kChannels * 2;
inline constexpr std::int64_t kBlockBytes = kBlockFrames * kBytesPerFrame;

// Two blocks, truncated to whole microseconds. The truncation is part of the rule: rounding it up shifts
// every block that lies near a rounding edge.
inline constexpr std::int64_t kDelayUs = 66666;

// `samplesWritten` counts both channels. The time at which frame 0 of the ring is heard when everything
// received so far lies kDelayUs ahead of `timeUs`.
std::int64_t BaseFor(std::int64_t timeUs, std::uint64_t samplesWritten);

// The first ring frame of the block for `timeUs`: the nearest block boundary, halves away from zero.
std::int64_t FrameAt(std::int64_t timeUs, std::int64_t baseUs);

// True when samples beyond the whole block have been written. A block that ends exactly at the newest
// sample does not count yet.
bool BlockIsWritten(std::int64_t frame, std::uint64_t samplesWritten);

// The first 200 ms after a synchronisation, the end included, are silent; so is any time before it.
bool IsSettling(std::int64_t timeUs, std::int64_t syncTimeUs);

}  // namespace audio_position
