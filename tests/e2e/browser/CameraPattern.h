// What the browser's camera and microphone are given, and so what must arrive: a known picture with its
// frame number in it, and a steady tone.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "support/frame_stamp.h"

namespace browser {

using support::frame_stamp::Area;

inline constexpr int kCameraWidth = 640;
inline constexpr int kCameraHeight = 360;
inline constexpr int kCameraFramesPerSecond = 30;
inline constexpr std::uint32_t kCameraFrames = 60;  // then it begins again
inline constexpr double kToneHertz = 1000.0;
inline constexpr double kToneLevel = 0.25;  // peak, of full scale

struct Colour {
    int luma = 0;
    int blueDifference = 0;
    int redDifference = 0;
};

// An area of one colour that nothing ever covers.
struct Patch {
    const char* name = "";
    Area area;
    Colour colour;
};

inline constexpr std::array<Patch, 8> kPatches = {{
    {"top left, red", {0, 60, 320, 100}, {81, 90, 240}},
    {"top right, green", {320, 60, 320, 100}, {145, 54, 34}},
    {"bottom left, blue", {0, 220, 320, 100}, {41, 240, 110}},
    {"bottom right, yellow", {320, 220, 320, 100}, {210, 16, 146}},
    {"steps, black", {0, 320, 160, 40}, {16, 128, 128}},
    {"steps, dark grey", {160, 320, 160, 40}, {80, 128, 128}},
    {"steps, light grey", {320, 320, 160, 40}, {160, 128, 128}},
    {"steps, white", {480, 320, 160, 40}, {235, 128, 128}},
}};

// The band in which a white square moves, one step per frame.
inline constexpr Area kBand = {0, 160, kCameraWidth, 60};

// Planar 4:2:0, without padding.
struct CameraPicture {
    std::vector<std::uint8_t> luma;
    std::vector<std::uint8_t> blueDifference;
    std::vector<std::uint8_t> redDifference;
};

CameraPicture MakeCameraPicture(std::uint32_t frameNumber);

// False when the file cannot be written.
bool WriteCameraFile(const std::string& path);
bool WriteMicrophoneFile(const std::string& path);

}  // namespace browser
