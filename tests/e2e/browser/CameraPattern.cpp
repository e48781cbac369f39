#include "tests/e2e/browser/CameraPattern.h"

#include <cmath>
#include <fstream>
#include <numbers>

namespace browser {
namespace {

constexpr int kSquareSide = 40;
constexpr int kSquareStep = 10;
constexpr Colour kWhite = {235, 128, 128};
constexpr Colour kBlack = {16, 128, 128};
constexpr int kSampleRate = 48'000;
constexpr int kToneSeconds = 60;  // longer than a test: the browser's loop has an audible seam

// `area` lies on even coordinates.
void Fill(CameraPicture& picture, const Area& area, const Colour& colour) {
    for (int y = area.y; y < area.y + area.height; ++y) {
        for (int x = area.x; x < area.x + area.width; ++x) {
            picture.luma[static_cast<std::size_t>(y * kCameraWidth + x)] =
                static_cast<std::uint8_t>(colour.luma);
            if (x % 2 != 0 || y % 2 != 0) continue;
            const auto chroma = static_cast<std::size_t>(y / 2 * (kCameraWidth / 2) + x / 2);
            picture.blueDifference[chroma] = static_cast<std::uint8_t>(colour.blueDifference);
            picture.redDifference[chroma] = static_cast<std::uint8_t>(colour.redDifference);
        }
    }
}

void WriteBytes(std::ofstream& file, const std::vector<std::uint8_t>& bytes) {
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void WriteLittleEndian(std::ofstream& file, std::uint32_t value, int bytes) {
    for (int index = 0; index < bytes; ++index)
        file.put(static_cast<char>(value >> (8 * index)));
}

}  // namespace

CameraPicture MakeCameraPicture(std::uint32_t frameNumber) {
    namespace stamp = support::frame_stamp;
    CameraPicture picture;
    picture.luma.resize(static_cast<std::size_t>(kCameraWidth * kCameraHeight));
    picture.blueDifference.resize(picture.luma.size() / 4);
    picture.redDifference.resize(picture.luma.size() / 4);

    const auto bits = stamp::Encode({frameNumber, 0});
    for (int index = 0; index < stamp::kBits; ++index) {
        const bool white = bits[static_cast<std::size_t>(index)];
        Fill(picture, stamp::BlockArea(index, kCameraWidth), white ? kWhite : kBlack);
    }
    for (const Patch& patch : kPatches)
        Fill(picture, patch.area, patch.colour);
    Fill(picture, kBand, kBlack);
    const int x = static_cast<int>(frameNumber) * kSquareStep % (kCameraWidth - kSquareSide + kSquareStep);
    Fill(picture, {x, kBand.y + 10, kSquareSide, kSquareSide}, kWhite);
    return picture;
}

bool WriteCameraFile(const std::string& path) {
    std::ofstream file(path, std::ios::binary);
    file << "YUV4MPEG2 W" << kCameraWidth << " H" << kCameraHeight << " F" << kCameraFramesPerSecond
         << ":1 Ip A1:1 C420jpeg\n";
    for (std::uint32_t number = 0; number < kCameraFrames; ++number) {
        const CameraPicture picture = MakeCameraPicture(number);
        file << "FRAME\n";
        WriteBytes(file, picture.luma);
        WriteBytes(file, picture.blueDifference);
        WriteBytes(file, picture.redDifference);
    }
    file.close();
    return file.good();
}

bool WriteMicrophoneFile(const std::string& path) {
    constexpr int kSamples = kSampleRate * kToneSeconds;
    std::ofstream file(path, std::ios::binary);
    file << "RIFF";
    WriteLittleEndian(file, 36 + 2 * kSamples, 4);
    file << "WAVEfmt ";
    WriteLittleEndian(file, 16, 4);
    WriteLittleEndian(file, 1, 2);  // PCM
    WriteLittleEndian(file, 1, 2);  // mono
    WriteLittleEndian(file, kSampleRate, 4);
    WriteLittleEndian(file, kSampleRate * 2, 4);
    WriteLittleEndian(file, 2, 2);
    WriteLittleEndian(file, 16, 2);
    file << "data";
    WriteLittleEndian(file, 2 * kSamples, 4);
    for (int sample = 0; sample < kSamples; ++sample) {
        const double phase = 2 * std::numbers::pi * kToneHertz * sample / kSampleRate;
        const auto value = static_cast<std::int16_t>(std::lround(kToneLevel * 32767 * std::sin(phase)));
        WriteLittleEndian(file, static_cast<std::uint16_t>(value), 2);
    }
    file.close();
    return file.good();
}

}  // namespace browser
