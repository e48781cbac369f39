// Where host buffers come from. All operations [any-thread].
#pragma once

#include <cstdint>

#include "host/core/zStatus.h"
#include "host/media/mdMediaRecord.h"

class nxBuffer2;

class nxBufferGroup2 {
public:
    virtual std::uint32_t AddRef() = 0;
    virtual std::uint32_t Release() = 0;

    // A picture buffer of the size and pixel format in `record`; its record starts as a copy of it, with
    // "mbpr". A fresh buffer is zeroed, a reused one holds an older picture: its maker writes every pixel.
    // `*out` carries one reference for the caller, and is null only when the record is unusable.
    virtual zStatus CreateBuffer(const mdMediaRecord& record, nxBuffer2** out) = 0;

    // A zeroed sound buffer of `frames` frames.
    virtual zStatus CreateBuffer(const mdMediaRecord& record, std::int32_t frames, std::uint32_t flags,
                                 nxBuffer2** out) = 0;

    // A picture of one colour in the group's own format, "2vuy" (0 is opaque black, else 0xAARRGGBB), with
    // one reference for the caller; null when the size is unusable. It carries no "vidI". Its pixels are
    // for reading until they were locked for writing.
    virtual nxBuffer2* CreateColoredBuffer(std::int32_t width, std::int32_t height, std::uint32_t colour) = 0;

protected:
    virtual ~nxBufferGroup2() = default;  // ends with its last reference
};
