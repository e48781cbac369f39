#include "renderers/nxWebRtcVideoRenderer.h"

#include <utility>

#include "host/media/nxBuffer2.h"
#include "host/media/nxBufferGroup2.h"
#include "renderers/nxWebRtcRendererData.h"
#include "webrtc/voColorspaceConverter.h"

namespace {

constexpr std::int32_t kFallbackWidth = 720;
constexpr std::int32_t kFallbackHeight = 480;
constexpr std::uint32_t kBlack = 0;

void SetCode(zRecord& record, zFourCC key, zFourCC code) {
    record.SetInt32(key, static_cast<std::int32_t>(code));
}

// The format belongs to the buffer: it says how large its rows really are.
void Convert(const vo_webrtc::voI420Frame& frame, nxBuffer2& buffer) {
    const nxPixelStore pixels = buffer.LockPixelsForWriting();
    if (pixels.baseAddress == nullptr) return;
    vo_webrtc::voVideoFrame destination;
    destination.baseAddress = pixels.baseAddress;
    destination.width = buffer.AsInt32(FourCC("mwid"), 0);
    destination.height = buffer.AsInt32(FourCC("mhei"), 0);
    destination.bytesPerRow = pixels.bytesPerRow;
    vo_webrtc::voColorspaceConverter::I420ToUYVY(destination, frame);
    buffer.UnlockPixels();
}

}  // namespace

nxWebRtcVideoRenderer::nxWebRtcVideoRenderer(const char* sourceName, nxBufferGroup2* group,
                                             const std::shared_ptr<nxWebRtcRendererData>& sharedData)
    : nxRenderer2(group), name(sourceName), rendererData(sharedData) {}

nxWebRtcVideoRenderer::~nxWebRtcVideoRenderer() {
    if (latestFrame != nullptr) latestFrame->Release();
}

zStatus nxWebRtcVideoRenderer::QueryInterface(const char* interfaceName, void** out) {
    return Concrete_QueryInterface(interfaceName, out);
}

std::uint32_t nxWebRtcVideoRenderer::AddRef() {
    return Concrete_AddRef();
}

std::uint32_t nxWebRtcVideoRenderer::Release() {
    return Concrete_Release();
}

zStatus nxWebRtcVideoRenderer::Concrete_QueryInterface(const char* interfaceName, void** out) {
    if (CompareInterfaceName(interfaceName, "nxXISourcePlugs")) {
        return GetInterface(static_cast<nxXISourcePlugs*>(this), out);
    }
    if (CompareInterfaceName(interfaceName, "nxVideoControlsXI")) {
        return GetInterface(static_cast<nxVideoControlsXI*>(this), out);
    }
    if (out != nullptr) *out = nullptr;
    return kStatusFailed;
}

zStatus nxWebRtcVideoRenderer::OutputFormat(mdMediaType, mdMediaRecord& record, std::int32_t) {
    const std::int32_t lastWidth = width.load(std::memory_order_relaxed);
    const std::int32_t lastHeight = height.load(std::memory_order_relaxed);
    bool hasFrame = false;
    {
        const support::MutexLock lock(frameLock);
        hasFrame = latestFrame != nullptr;
    }
    SetCode(record, FourCC("type"), kMediaTypeVideo);
    record.SetInt32(FourCC("mwid"), lastWidth == 0 ? 1 : lastWidth);
    record.SetInt32(FourCC("mhei"), lastHeight == 0 ? 1 : lastHeight);
    record.SetBool(FourCC("vidI"), lastWidth >= 1);
    SetCode(record, FourCC("mcol"), hasFrame ? kPixelFormatUYVY : kPixelFormatRGB);
    return kStatusOk;
}

zStatus nxWebRtcVideoRenderer::BufferForParameters(nxBuffer2** out, const nx_renderer_params& params) {
    if (!IsVideoMuted()) {
        const support::MutexLock lock(frameLock);
        if (latestFrame != nullptr) {
            if (latestFrame->Timestamp() == nxBuffer2::kTimestampUnset) {
                latestFrame->SetTimestamp(params.presentationTimeUs);
            }
            width.store(latestSize.width, std::memory_order_relaxed);
            height.store(latestSize.height, std::memory_order_relaxed);
            latestFrame->AddRef();
            *out = latestFrame;
            return kStatusOk;
        }
    }
    *out = MakeBlackBuffer(params.presentationTimeUs);
    return kStatusOk;
}

nxBuffer2* nxWebRtcVideoRenderer::MakeBlackBuffer(std::int64_t timeUs) {
    if (width.load(std::memory_order_relaxed) <= 1) width.store(kFallbackWidth, std::memory_order_relaxed);
    if (height.load(std::memory_order_relaxed) <= 1) height.store(kFallbackHeight, std::memory_order_relaxed);
    nxBuffer2* const buffer = bufferGroup->CreateColoredBuffer(
        width.load(std::memory_order_relaxed), height.load(std::memory_order_relaxed), kBlack);
    if (buffer != nullptr) buffer->SetTimestamp(timeUs);
    return buffer;
}

nxBuffer2* nxWebRtcVideoRenderer::MakeBuffer(std::int32_t frameWidth, std::int32_t frameHeight) {
    mdMediaRecord format(kMediaTypeVideo);
    format.SetInt32(FourCC("mwid"), frameWidth);
    format.SetInt32(FourCC("mhei"), frameHeight);
    SetCode(format, FourCC("mcol"), kPixelFormatUYVY);
    format.SetBytesPerRowBasedOnFormat();

    nxBuffer2* buffer = nullptr;
    bufferGroup->CreateBuffer(format, &buffer);
    if (buffer != nullptr) {
        buffer->SetBool(FourCC("vidI"), true);
        buffer->SetInt32(FourCC("mdSQ"), frameWidth);
        buffer->SetInt32(FourCC("mdSH"), frameHeight);
    }
    return buffer;
}

void nxWebRtcVideoRenderer::OnVideoFrame(const vo_webrtc::voI420Frame& frame) {
    nxBuffer2* buffer = MakeBuffer(frame.width, frame.height);
    if (buffer == nullptr) return;
    const std::shared_ptr<nxWebRtcRendererData> data = rendererData.lock();
    if (!data) {
        buffer->Release();
        return;
    }
    data->videoReceived.store(true);

    Convert(frame, *buffer);
    buffer->SetTimestamp(nxBuffer2::kTimestampUnset);
    const vo_webrtc::voSize size = {buffer->GetDisplayWidth(), buffer->GetDisplayHeight()};
    {
        const support::MutexLock lock(frameLock);
        std::swap(latestFrame, buffer);
        latestSize = size;
    }
    if (buffer != nullptr) buffer->Release();  // the previous one, outside the lock that pulls wait for
}

const char* nxWebRtcVideoRenderer::PlugName(zString& out) {
    out.Assign(name);
    const char* const text = out.Text();
    return text != nullptr ? text : "";
}

bool nxWebRtcVideoRenderer::IsVideoMuted() {
    const std::shared_ptr<nxWebRtcRendererData> data = rendererData.lock();
    return data && data->videoMuted.load();
}

void nxWebRtcVideoRenderer::SetVideoMuted(bool muted) {
    const std::shared_ptr<nxWebRtcRendererData> data = rendererData.lock();
    if (!data) return;
    data->videoMuted.store(muted);
    data->SendTallyIfChanged();
}

nxWebRtcVideoRenderer::Sink::Sink(std::weak_ptr<nxWebRtcVideoRenderer> owner)
    : vo_webrtc::voVideoTrackInterface::Sink(&voCallback::Delete), renderer(std::move(owner)) {}

void nxWebRtcVideoRenderer::Sink::OnFrame(const vo_webrtc::voI420Frame& frame) {
    if (const std::shared_ptr<nxWebRtcVideoRenderer> owner = renderer.lock()) owner->OnVideoFrame(frame);
}
