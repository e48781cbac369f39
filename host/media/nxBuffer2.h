// A picture or a block of sound in host memory, described by its own record. Reference counted; the
// memory goes back to its group with the last reference.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/media/mdMediaRecord.h"

struct nxPixelStore {
    std::uint8_t* baseAddress = nullptr;  // the first (top) row
    std::int32_t bytesPerRow = 0;
};

class nxBuffer2 : public mdMediaRecord {
public:
    static constexpr std::int64_t kTimestampUnset = -1;

    using mdMediaRecord::mdMediaRecord;

    virtual std::uint32_t AddRef() = 0;   // [any-thread]
    virtual std::uint32_t Release() = 0;  // [any-thread]

    virtual std::int64_t Timestamp() const = 0;  // microseconds, kTimestampUnset when none was set
    virtual void SetTimestamp(std::int64_t timestampUs) = 0;

    // Access to the pixels, null base address when the buffer has none. Locks do not exclude each
    // other: the maker writes before it hands the buffer on.
    virtual nxPixelStore LockPixelsForWriting() = 0;
    virtual void UnlockPixels() = 0;

    // The whole memory: rows of pixels, or interleaved samples.
    virtual std::uint8_t* Data() = 0;
    virtual std::size_t DataSize() const = 0;

    // "mdSQ" and "mdSH", else "mwid" and "mhei".
    std::int32_t GetDisplayWidth() const;
    std::int32_t GetDisplayHeight() const;

protected:
    ~nxBuffer2() override = default;  // ends with its last reference
};
