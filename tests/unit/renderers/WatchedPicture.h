// A picture buffer that writes down how its pixels are used.
#pragma once

#include <string>
#include <vector>

#include "host/media/nxBuffer2.h"

namespace tests {

struct WatchedPixels {
    std::int32_t padding = 0;  // bytes behind each row
    std::int32_t width = 0;    // what the buffer's record says; 0 for what was asked for
    std::int32_t askedBytesPerRow = 0;
    std::vector<std::string> events;
};

class WatchedPicture final : public nxBuffer2 {
public:
    WatchedPicture(const mdMediaRecord& asked, WatchedPixels& log)
        : nxBuffer2(kMediaTypeVideo),
          pixels(log),
          bytesPerRow((asked.AsInt32(FourCC("mwid"), 0) + 1) / 2 * 4 + log.padding),
          data(static_cast<std::size_t>(bytesPerRow * asked.AsInt32(FourCC("mhei"), 0)), kUntouched) {
        pixels.askedBytesPerRow = asked.AsInt32(FourCC("mbpr"), 0);
        SetInt32(FourCC("mwid"), log.width != 0 ? log.width : asked.AsInt32(FourCC("mwid"), 0));
        SetInt32(FourCC("mhei"), asked.AsInt32(FourCC("mhei"), 0));
    }

    static constexpr std::uint8_t kUntouched = 0xEE;

    std::uint32_t AddRef() override { return ++references; }
    std::uint32_t Release() override {
        const std::uint32_t left = --references;
        if (left == 0) delete this;
        return left;
    }
    std::int64_t Timestamp() const override { return timestamp; }
    void SetTimestamp(std::int64_t timestampUs) override { timestamp = timestampUs; }
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
    std::uint32_t references = 1;
    std::int64_t timestamp = kTimestampUnset;
    std::vector<std::uint8_t> data;
};

}  // namespace tests
