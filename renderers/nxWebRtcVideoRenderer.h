// The picture object of a source: converts each received frame at once into a host buffer, keeps the newest
// and hands it out until a newer one replaces it.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "host/renderer/nxRenderer2.h"
#include "host/renderer/nxVideoControlsXI.h"
#include "host/renderer/nxXISourcePlugs.h"
#include "support/annotated_mutex.h"
#include "support/object_count.h"
#include "webrtc/voSize.h"
#include "webrtc/voVideoTrackInterface.h"

class nxWebRtcRendererData;

class nxWebRtcVideoRenderer : public nxRenderer2,
                              public nxXISourcePlugs,
                              public nxVideoControlsXI,
                              private support::Counted<nxWebRtcVideoRenderer> {
public:
    class Sink;
    using support::Counted<nxWebRtcVideoRenderer>::Alive;

    // Starts with the maker's reference. Keeps the renderer data weakly.
    nxWebRtcVideoRenderer(const char* sourceName, nxBufferGroup2* group,
                          const std::shared_ptr<nxWebRtcRendererData>& sharedData);
    ~nxWebRtcVideoRenderer() override;

    zStatus QueryInterface(const char* interfaceName, void** out) override;
    std::uint32_t AddRef() override;
    std::uint32_t Release() override;
    // Answers the two extension interfaces and, on purpose, no base interface.
    zStatus Concrete_QueryInterface(const char* interfaceName, void** out) override;

    zStatus OutputFormat(mdMediaType type, mdMediaRecord& record, std::int32_t index) override;
    mdMediaType MediaType() override { return kMediaTypeVideo; }
    // [render-thread] The newest picture; while muted or before the first one, black of the last size.
    zStatus BufferForParameters(nxBuffer2** out, const nx_renderer_params& params) override;

    // [library-thread] One at a time per track.
    virtual void OnVideoFrame(const vo_webrtc::voI420Frame& frame);

    const char* PlugName(zString& out) override;  // the name of the connection
    bool IsVideoMuted() override;
    void SetVideoMuted(bool muted) override;

private:
    nxBuffer2* MakeBuffer(std::int32_t frameWidth, std::int32_t frameHeight);
    nxBuffer2* MakeBlackBuffer(std::int64_t timeUs);

    const std::string name;
    // The display size of the last hand-out; 0 before it.
    std::atomic<std::int32_t> width{0};
    std::atomic<std::int32_t> height{0};
    support::Mutex frameLock;
    nxBuffer2* latestFrame GUARDED_BY(frameLock) = nullptr;  // with a reference of ours
    // Its display size, looked up once per frame because pulls are far more frequent.
    vo_webrtc::voSize latestSize GUARDED_BY(frameLock);
    const std::weak_ptr<nxWebRtcRendererData> rendererData;
};

// Ties a track to a renderer without keeping the renderer alive.
class nxWebRtcVideoRenderer::Sink : public vo_webrtc::voVideoTrackInterface::Sink {
public:
    explicit Sink(std::weak_ptr<nxWebRtcVideoRenderer> owner);
    void OnFrame(const vo_webrtc::voI420Frame& frame) override;

private:
    const std::weak_ptr<nxWebRtcVideoRenderer> renderer;
};
