// Renderers whose pictures and sound follow from the time of the pull alone: a stamped pattern at 30
// pictures per second with a flash each second, and a beep that comes kBeepAfterFlashUs later.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/media/mdMediaType.h"

class nxBuffer2;
class nxBufferGroup2;
class nxRenderer2;

namespace fakes {

inline constexpr std::int64_t kPatternFrameUs = 33'333;
inline constexpr std::int64_t kPatternAgeUs = 7'000;  // a stamp is this much older than its picture
inline constexpr std::int64_t kBeepAfterFlashUs = 80'000;

// The address tells what to show: words joined by '-'. "640x360" is the size; "silent" gives sound of zeros;
// "black" gives no picture; "resizing" changes the size to 320x240 for every other second.
std::shared_ptr<nxRenderer2> MakePatternRenderer(const std::string& address, mdMediaType mediaType,
                                                 nxBufferGroup2* bufferGroup);

// An empty UYVY picture; null when the group gives none. One reference for the caller.
nxBuffer2* MakePatternPicture(nxBufferGroup2& group, int width, int height);

// Paints a grey picture with a stamp, and a flash or none, into a UYVY buffer.
void PaintPattern(nxBuffer2& buffer, std::uint32_t frameNumber, std::uint64_t senderTimeUs, bool flash);

// Fills a buffer with stereo sound: a quiet tone, and a beep in each second from `beepStartUs` on.
void FillPatternSound(nxBuffer2& buffer, std::int64_t timeUs, std::int64_t beepStartUs);

}  // namespace fakes
