// Where pictures and sound come from before they are encoded. Called on the pump's thread only.
#pragma once

#include <cstdint>

#include "apps/petrel/GstHandles.h"

namespace petrel {

inline constexpr int kAudioRate = 48'000;
inline constexpr int kAudioChannels = 2;
inline constexpr int kAudioBlockFrames = 960;  // 20 ms, one coded packet

// A phone that was turned: width and height have changed places.
enum class Posture { AsAsked, Turned };

class VideoSource {
public:
    virtual ~VideoSource() = default;
    // The I420 picture due at `mediaTimeUs`, without timestamps; null when there is none to show yet.
    virtual GstHandle<GstBuffer> NextPicture(std::int64_t mediaTimeUs) = 0;
    // Of the latest picture.
    virtual Posture LatestPosture() const { return Posture::AsAsked; }
};

class AudioSource {
public:
    virtual ~AudioSource() = default;
    // Fills one block of kAudioBlockFrames interleaved stereo frames that begins at frame `firstFrame`.
    virtual void NextBlock(std::int64_t firstFrame, std::int16_t* samples) = 0;
};

}  // namespace petrel
