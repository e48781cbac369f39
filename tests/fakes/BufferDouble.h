// What every buffer of a test's own has alike: the count of references and the timestamp.
#pragma once

#include <atomic>

#include "host/media/nxBuffer2.h"

namespace tests {

class BufferDouble : public nxBuffer2 {
public:
    using nxBuffer2::nxBuffer2;

    std::uint32_t AddRef() override { return ++references; }
    std::uint32_t Release() override {
        const std::uint32_t left = --references;
        if (left == 0) delete this;
        return left;
    }
    std::int64_t Timestamp() const override { return timestamp; }
    void SetTimestamp(std::int64_t timestampUs) override { timestamp = timestampUs; }
    nxPixelStore LockPixelsForWriting() override { return {}; }
    void UnlockPixels() override {}

protected:
    ~BufferDouble() override = default;

private:
    std::atomic<std::uint32_t> references{1};
    std::int64_t timestamp = kTimestampUnset;
};

}  // namespace tests
