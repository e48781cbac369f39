// Measures what was pulled against what the camera and the microphone gave.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "tests/e2e/browser/CameraPattern.h"

namespace browser {

// A copy of a pulled picture, UYVY without padding.
struct ReceivedPicture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> bytes;

    int LumaAt(int x, int y) const;
};

// Copies `height` rows of UYVY that lie `bytesPerRow` apart.
ReceivedPicture CopyPicture(const std::uint8_t* pixels, int bytesPerRow, int width, int height);

// The frame number that the picture carries; nothing when none can be read.
std::optional<std::uint32_t> FrameNumberOf(const ReceivedPicture& picture);

// The mean of the middle of an area; `area` lies in the camera's own picture size.
Colour MeanColour(const ReceivedPicture& picture, const Area& area);

// Peak signal-to-noise ratio of the luma against the camera's frame, in dB; 0 when the size differs.
double LumaSignalToNoise(const ReceivedPicture& picture, std::uint32_t frameNumber);

// How much of a mono signal at 48 kHz is one tone.
struct Tone {
    double level = 0;  // its peak, of full scale
    double share = 0;  // of the whole energy, 0 to 1
};
Tone MeasureTone(std::span<const std::int16_t> samples, double hertz);

// The median over windows so short that a playout which runs a few tenths of a percent faster or slower, to
// follow its sender, changes nothing.
Tone MeasureSteadyTone(std::span<const std::int16_t> samples, double hertz);

}  // namespace browser
