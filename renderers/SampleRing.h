// One second of 48 kHz 16-bit stereo sound as a ring of bytes. Positions count bytes from the beginning of
// time and wrap; the ring knows neither what has been written nor what has been read.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>

#include "support/annotated_mutex.h"

class SampleRing {
public:
    static constexpr std::uint64_t kSize = 192000;

    SampleRing();

    void Clear();

    // Hands `handler(std::uint8_t* piece, std::uint64_t length)` the bytes from `position` on: one piece, or
    // two when the range wraps. Refuses, calling nothing, when `count` is negative or above kSize.
    template <class Handler>
    bool Access(std::uint64_t position, std::int64_t count, Handler handler) {
        if (count < 0 || static_cast<std::uint64_t>(count) > kSize) return false;
        const auto length = static_cast<std::uint64_t>(count);
        const std::uint64_t start = position % kSize;
        const std::uint64_t untilEnd = std::min(length, kSize - start);

        const support::MutexLock lock(mutex);
        handler(data->at + start, untilEnd);
        if (untilEnd < length) handler(data->at, length - untilEnd);
        return true;
    }

    bool Write(std::uint64_t position, const std::uint8_t* source, std::int64_t count);
    bool Read(std::uint64_t position, std::uint8_t* destination, std::int64_t count);

private:
    // Aligned like the blocks of sound read from it, which makes their copies cheap.
    struct alignas(64) Bytes {
        std::uint8_t at[kSize] = {};
    };

    support::Mutex mutex;
    const std::unique_ptr<Bytes> data PT_GUARDED_BY(mutex);
};
