#include "host/renderer/nxRenderer2.h"

#include "host/media/nxBufferGroup2.h"

nxRenderer2::nxRenderer2(nxBufferGroup2* group) : bufferGroup(group) {
    bufferGroup->AddRef();
}

nxRenderer2::~nxRenderer2() {
    bufferGroup->Release();
}

zStatus nxRenderer2::BufferForParameters(nxBuffer2** out, const nx_renderer_params&) {
    if (out != nullptr) *out = nullptr;
    return kStatusFailed;
}

std::int64_t nxRenderer2::CueTimestampForParameters(const nx_renderer_params& params) const {
    return params.presentationTimeUs;
}

zStatus nxRenderer2::ApplySettings(zRecord&) {
    return kStatusOk;
}
