// Picture buffers of the host that are written in turn, as a source's newest two are.
#pragma once

#include <array>
#include <cstddef>

#include "benchmarks/pieces/PictureSizes.h"
#include "host/media/nxBuffer2.h"
#include "host_runtime/media/BufferGroup.h"
#include "host_runtime/sources/HostPointer.h"

namespace benchmarks {

using BufferPointer = host_runtime::HostPointer<nxBuffer2>;

inline BufferPointer MakePictureBuffer(nxBufferGroup2& group, PictureSize size) {
    mdMediaRecord format(kMediaTypeVideo);
    format.SetInt32(FourCC("mwid"), size.width);
    format.SetInt32(FourCC("mhei"), size.height);
    format.SetInt32(FourCC("mcol"), static_cast<std::int32_t>(kPixelFormatUYVY));
    format.SetBytesPerRowBasedOnFormat();
    nxBuffer2* buffer = nullptr;
    group.CreateBuffer(format, &buffer);
    return BufferPointer::Adopt(buffer);
}

class HostBuffers {
public:
    explicit HostBuffers(PictureSize size)
        : group(host_runtime::HostPointer<host_runtime::BufferGroup>::Adopt(
              host_runtime::BufferGroup::Make())) {
        for (BufferPointer& buffer : buffers)
            buffer = MakePictureBuffer(*group, size);
    }
    nxPixelStore Next() { return buffers[next++ % buffers.size()]->LockPixelsForWriting(); }

private:
    const host_runtime::HostPointer<host_runtime::BufferGroup> group;
    std::array<BufferPointer, 2> buffers;
    std::size_t next = 0;
};

}  // namespace benchmarks
