#include "renderers/SampleRing.h"

#include <cstring>

SampleRing::SampleRing() : data(std::make_unique<Bytes>()) {}

void SampleRing::Clear() {
    const support::MutexLock lock(mutex);
    std::memset(data->at, 0, kSize);
}

bool SampleRing::Write(std::uint64_t position, const std::uint8_t* source, std::int64_t count) {
    return Access(position, count, [&source](std::uint8_t* piece, std::uint64_t length) {
        std::memcpy(piece, source, length);
        source += length;
    });
}

bool SampleRing::Read(std::uint64_t position, std::uint8_t* destination, std::int64_t count) {
    return Access(position, count, [&destination](const std::uint8_t* piece, std::uint64_t length) {
        std::memcpy(destination, piece, length);
        destination += length;
    });
}
