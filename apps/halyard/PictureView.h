#pragma once

#include <cstdint>

#include "host/media/nxBuffer2.h"

namespace halyard {

// The luma of a UYVY picture in host memory.
class PictureView {
public:
    explicit PictureView(nxBuffer2& buffer)
        : width(buffer.GetDisplayWidth()),
          height(buffer.GetDisplayHeight()),
          bytesPerRow(buffer.AsInt32(FourCC("mbpr"), 0)),
          data(buffer.Data()) {
        const bool uyvy = static_cast<zFourCC>(buffer.AsInt32(FourCC("mcol"), 0)) == kPixelFormatUYVY;
        const std::int64_t needed = std::int64_t{bytesPerRow} * height;
        usable = uyvy && data != nullptr && width > 0 && height > 0 && bytesPerRow >= width * 2 &&
                 needed <= static_cast<std::int64_t>(buffer.DataSize());
    }

    bool IsUsable() const { return usable; }
    int Width() const { return width; }
    int Height() const { return height; }
    int LumaAt(int x, int y) const { return data[std::int64_t{y} * bytesPerRow + x * 2 + 1]; }

private:
    int width;
    int height;
    int bytesPerRow;
    const std::uint8_t* data;
    bool usable = false;
};

}  // namespace halyard
