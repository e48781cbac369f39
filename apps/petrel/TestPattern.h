// The moving test picture with its stamp and its flash, painted into I420 planes.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "support/frame_stamp.h"

namespace petrel {

// Three planes of 8-bit samples that somebody else owns; the colour planes have half the width and height.
struct PictureView {
    std::array<std::uint8_t*, 3> planes{};
    std::array<int, 3> strides{};
};

class TestPattern {
public:
    // Both even and not below the stamp's minimum.
    TestPattern(int pictureWidth, int pictureHeight);

    // Paints the picture due at `mediaTimeUs`, all but its stamp: what moves and the flash follow that time
    // alone. Allocates nothing.
    void Paint(const PictureView& picture, std::int64_t mediaTimeUs) const;
    void PaintStamp(const PictureView& picture, const support::frame_stamp::Stamp& stamp) const;

    static bool FlashesAt(std::int64_t mediaTimeUs);

private:
    struct Colour {
        std::uint8_t luma, blue, red;
    };

    void CopyBackground(const PictureView& picture) const;
    void PaintStripes(const PictureView& picture, std::int64_t mediaTimeUs) const;
    void PaintMovingShapes(const PictureView& picture, std::int64_t mediaTimeUs) const;
    void FillArea(const PictureView& picture, const support::frame_stamp::Area& area, Colour colour) const;

    int width;
    int height;
    std::array<std::vector<std::uint8_t>, 3> background;  // tightly packed
    std::vector<std::uint8_t> stripes;                    // one row, wider than the picture by a period
};

}  // namespace petrel
