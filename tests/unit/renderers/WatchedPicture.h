// A picture buffer that writes down how its pixels are used.
#pragma once

#include <string>
#include <vector>

#include "tests/fakes/BufferDouble.h"

namespace tests {

struct WatchedPixels {
    std::int32_t padding = 0;  // bytes behind each row
    std::int32_t width = 0;    // what the buffer's record says; 0 for what was asked for
    std::int32_t askedBytesPerRow = 0;
    std::vector<std::string> events;
};

class WatchedPicture final : public BufferDouble {
public:
    WatchedPicture(const mdMediaRecord& asked, WatchedPixels& log)
        : BufferDouble(kMediaTypeVideo),
          pixels(log),
          bytesPerRow((asked.AsInt32(FourCC("mwid"), 0) + 1) / 2 * 4 + log.padding),
          data(static_cast<std::size_t>(bytesPerRow * asked.AsInt32(FourCC("mhei"), 0)), kUntouched) {
        pixels.askedBytesPerRow = asked.AsInt32(FourCC("mbpr"), 0);
        SetInt32(FourCC("mwid"), log.width != 0 ? log.width : asked.AsInt32(FourCC("mwid"), 0));
        SetInt32(FourCC("mhei"), asked.AsInt32(FourCC("mhei"), 0));
    }

    static constexpr std::uint8_t kUntouched = 0xEE;

    nxPixelStore LockPixelsForWriting() override {
        pixels.events.emplace_back("lock");
        return {data.data(), bytesPerRow};
    }
    void UnlockPixels() override { pixels.events.emplace_back("unlock"); }
    std::uint8_t* Data() override { return data.data(); }
    std::size_t DataSize() const override { return data.size(); }

private:
    ~WatchedPicture() override = default;

    WatchedPixels& pixels;
    const std::int32_t bytesPerRow;
    std::vector<std::uint8_t> data;
};

}  // namespace tests
