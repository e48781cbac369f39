// A recording, decoded again.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "support/frame_stamp.h"

namespace e2e {

struct RecordedPicture {
    std::int64_t timeUs = 0;
    int width = 0;
    int height = 0;
    std::optional<support::frame_stamp::Stamp> stamp;
    bool flash = false;
};

struct RecordedFile {
    std::string problem;  // empty when the file could be decoded to its end
    std::vector<RecordedPicture> pictures;
    std::int64_t soundBeginsUs = 0;
    std::vector<std::int16_t> left;  // 48 kHz

    // When a beep begins, after at least 300 ms of less.
    std::vector<std::int64_t> BeepTimes() const;
    // When a flash begins, after a picture without.
    std::vector<std::int64_t> FlashTimes() const;
};

// Only a Matroska file with one H.264 and one Opus stream can be decoded.
RecordedFile Decode(const std::filesystem::path& file);

}  // namespace e2e
