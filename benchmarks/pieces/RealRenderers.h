// The renderers as a connection owns them, with the host's own buffers and the converter that is shipped.
#pragma once

#include <array>
#include <memory>

#include "benchmarks/pieces/HostBuffers.h"
#include "host_runtime/media/BufferGroup.h"
#include "host_runtime/sources/HostPointer.h"
#include "renderers/nxWebRtcRendererData.h"
#include "renderers/nxWebRtcVideoRenderer.h"

namespace benchmarks {

class RealRenderers {
public:
    // The pool then holds as many pictures of that size as are ever out at once: the one being written, the
    // newest, and what the host keeps while it takes that.
    explicit RealRenderers(PictureSize size) {
        std::array<BufferPointer, 4> out;
        for (BufferPointer& buffer : out)
            buffer = MakePictureBuffer(*group, size);
    }

    nxWebRtcVideoRenderer& Video() { return *video; }
    nxBufferGroup2& Buffers() { return *group; }

private:
    using BufferGroup = host_runtime::BufferGroup;

    const host_runtime::HostPointer<BufferGroup> group =
        host_runtime::HostPointer<BufferGroup>::Adopt(BufferGroup::Make());
    const std::shared_ptr<nxWebRtcRendererData> data =
        std::make_shared<nxWebRtcRendererData>(nullptr, "phone");
    const std::shared_ptr<nxWebRtcVideoRenderer> video{
        new nxWebRtcVideoRenderer("phone", group.Get(), data),
        [](nxWebRtcVideoRenderer* renderer) { renderer->Release(); }};
};

}  // namespace benchmarks
