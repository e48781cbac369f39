// The sound object of a source: keeps the last second of received sound in a ring and hands out blocks of
// 1600 frames, 48 kHz, 16-bit stereo. Each consumer has a clock of its own, so several may pull
// independently.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/renderer/nxAudioControlsXI.h"
#include "host/renderer/nxRenderer2.h"
#include "host/renderer/nxXIAudioLiveDelay.h"
#include "host/renderer/nxXISourcePlugs.h"
#include "renderers/SampleRing.h"
#include "support/annotated_mutex.h"
#include "support/object_count.h"
#include "webrtc/voAudioTrackInterface.h"

class nxWebRtcRendererData;

class nxWebRtcAudioRenderer : public nxRenderer2,
                              public nxXISourcePlugs,
                              public nxAudioControlsXI,
                              public nxXIAudioLiveDelay,
                              private support::Counted<nxWebRtcAudioRenderer> {
public:
    class Sink;
    using support::Counted<nxWebRtcAudioRenderer>::Alive;

    // Starts with the maker's reference. Keeps the renderer data weakly.
    nxWebRtcAudioRenderer(const char* sourceName, nxBufferGroup2* group,
                          const std::shared_ptr<nxWebRtcRendererData>& sharedData);
    ~nxWebRtcAudioRenderer() override;

    zStatus QueryInterface(const char* interfaceName, void** out) override;
    std::uint32_t AddRef() override;
    std::uint32_t Release() override;
    // Answers the three extension interfaces and, on purpose, no base interface.
    zStatus Concrete_QueryInterface(const char* interfaceName, void** out) override;

    zStatus OutputFormat(mdMediaType type, mdMediaRecord& record, std::int32_t index) override;
    mdMediaType MediaType() override { return kMediaTypeAudio; }
    // [render-thread] The block for the consumer's time, silent when there is none.
    zStatus BufferForParameters(nxBuffer2** out, const nx_renderer_params& params) override;
    // The boolean "audioActive"; false silences the source while its clocks run on.
    zStatus ApplySettings(zRecord& settings) override;

    // [library-thread] Dropped unless 48 kHz, 16 bit, mono or stereo, and until the first picture arrived.
    virtual void OnAudioData(const vo_webrtc::voAudioData& data);

    const char* PlugName(zString& out) override;  // the name of the connection

    bool IsAudioMuted() override;
    void SetAudioMuted(bool muted) override;
    bool IsAudioEnabled() override;
    void SetAudioEnabled(bool enabled) override;

    // Values of the host, stored and handed back.
    void SetLiveDelay(double delay) override { liveDelay = delay; }
    double GetLiveDelay() override { return liveDelay; }
    bool HandlesLiveDelay() override { return false; }
    void SetLiveDelayWord(std::uint32_t word) override { liveDelayWord = word; }
    std::uint32_t GetLiveDelayWord() override { return liveDelayWord; }
    void SetRamsValue(std::uint32_t value) override { ramsValue = value; }
    std::uint32_t GetRamsValue() override { return ramsValue; }
    void SetCbsValue(std::int32_t index, std::uint64_t value) override;

private:
    static constexpr std::int64_t kUnset = -1;
    static constexpr std::uint64_t kDefaultCbs = 0x0001000100010001;

    struct ConsumerClock {
        std::int64_t base = kUnset;      // unset: synchronise at the next pull
        std::int64_t syncTime = kUnset;  // of the last synchronisation
    };
    struct ConsumerKeyHash {
        std::size_t operator()(std::uint64_t key) const;
    };

    void ForgetSound() REQUIRES(audioLock);
    bool ReadBlock(const nx_renderer_params& params, nxBuffer2& buffer) REQUIRES(audioLock);
    void StampBuffer(const nx_renderer_params& params, nxBuffer2& buffer) const;

    const std::string name;
    SampleRing ring;
    support::Mutex audioLock;                                // taken before the ring's own
    std::uint64_t samplesWritten GUARDED_BY(audioLock) = 0;  // both channels
    std::unordered_map<std::uint64_t, ConsumerClock, ConsumerKeyHash> consumerClocks GUARDED_BY(audioLock){8};
    std::atomic<bool> audioActive{true};
    const std::weak_ptr<nxWebRtcRendererData> rendererData;
    std::vector<std::int16_t> monoScratch GUARDED_BY(audioLock);
    std::atomic<double> liveDelay{0};
    std::atomic<std::uint32_t> liveDelayWord{0};
    std::atomic<std::uint32_t> ramsValue{0};
    std::array<std::atomic<std::uint64_t>, 4> cbsValues{kDefaultCbs, kDefaultCbs, kDefaultCbs, kDefaultCbs};
};

// Ties a track to a renderer without keeping the renderer alive.
class nxWebRtcAudioRenderer::Sink : public vo_webrtc::voAudioTrackInterface::Sink {
public:
    explicit Sink(std::weak_ptr<nxWebRtcAudioRenderer> owner);
    void OnData(const vo_webrtc::voAudioData& data) override;

private:
    const std::weak_ptr<nxWebRtcAudioRenderer> renderer;
};
