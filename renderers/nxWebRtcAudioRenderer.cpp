#include "renderers/nxWebRtcAudioRenderer.h"

#include <cstring>
#include <utility>

#include "host/media/nxBuffer2.h"
#include "host/media/nxBufferGroup2.h"
#include "renderers/audio_position.h"
#include "renderers/nxWebRtcRendererData.h"

namespace {

constexpr int kBitsPerSample = 16;

void DescribeFormat(zRecord& record) {
    record.SetInt32(FourCC("msmr"), audio_position::kSampleRate);
    record.SetInt32(FourCC("mcbu"), 1);
    record.SetInt32(FourCC("mcha"), audio_position::kChannels);
    record.SetInt32(FourCC("mbps"), kBitsPerSample);
}

void Silence(nxBuffer2& buffer) {
    std::memset(buffer.Data(), 0, buffer.DataSize());
}

bool IsUsable(const vo_webrtc::voAudioData& data) {
    return data.sampleRate == audio_position::kSampleRate && (data.channels == 1 || data.channels == 2) &&
           data.bitsPerSample == kBitsPerSample && data.samples != nullptr && data.frames != 0;
}

}  // namespace

// FNV-1a over the eight bytes of the key.
std::size_t nxWebRtcAudioRenderer::ConsumerKeyHash::operator()(std::uint64_t key) const {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (int shift = 0; shift < 64; shift += 8) {
        hash ^= (key >> shift) & 0xFF;
        hash *= 0x100000001B3;
    }
    return static_cast<std::size_t>(hash);
}

nxWebRtcAudioRenderer::nxWebRtcAudioRenderer(const char* sourceName, nxBufferGroup2* group,
                                             const std::shared_ptr<nxWebRtcRendererData>& sharedData)
    : nxRenderer2(group), name(sourceName), rendererData(sharedData) {}

nxWebRtcAudioRenderer::~nxWebRtcAudioRenderer() = default;

zStatus nxWebRtcAudioRenderer::QueryInterface(const char* interfaceName, void** out) {
    return Concrete_QueryInterface(interfaceName, out);
}

std::uint32_t nxWebRtcAudioRenderer::AddRef() {
    return Concrete_AddRef();
}

std::uint32_t nxWebRtcAudioRenderer::Release() {
    return Concrete_Release();
}

zStatus nxWebRtcAudioRenderer::Concrete_QueryInterface(const char* interfaceName, void** out) {
    if (CompareInterfaceName(interfaceName, "nxXISourcePlugs")) {
        return GetInterface(static_cast<nxXISourcePlugs*>(this), out);
    }
    if (CompareInterfaceName(interfaceName, "nxAudioControlsXI")) {
        return GetInterface(static_cast<nxAudioControlsXI*>(this), out);
    }
    if (CompareInterfaceName(interfaceName, "nxXIAudioLiveDelay")) {
        return GetInterface(static_cast<nxXIAudioLiveDelay*>(this), out);
    }
    if (out != nullptr) *out = nullptr;
    return kStatusFailed;
}

zStatus nxWebRtcAudioRenderer::OutputFormat(mdMediaType, mdMediaRecord& record, std::int32_t) {
    record.SetInt32(FourCC("type"), static_cast<std::int32_t>(kMediaTypeAudio));
    DescribeFormat(record);
    return kStatusOk;
}

zStatus nxWebRtcAudioRenderer::ApplySettings(zRecord& settings) {
    audioActive.store(settings.AsBool("audioActive", true));
    return kStatusOk;
}

void nxWebRtcAudioRenderer::OnAudioData(const vo_webrtc::voAudioData& data) {
    {
        // Let go before the lock: this reference may turn out to be the last one.
        const std::shared_ptr<nxWebRtcRendererData> shared = rendererData.lock();
        if (shared && !shared->videoReceived.load()) return;
    }
    if (!IsUsable(data)) return;

    // The old and the new track may deliver at the same time for a moment, so the scratch needs the lock too.
    const support::MutexLock lock(audioLock);
    const std::int16_t* source = data.samples;
    if (data.channels == 1) {
        if (monoScratch.size() < data.frames * 2) monoScratch.resize(data.frames * 2);
        for (std::uint64_t frame = 0; frame < data.frames; ++frame) {
            monoScratch[frame * 2] = source[frame];
            monoScratch[frame * 2 + 1] = source[frame];
        }
        source = monoScratch.data();
    }
    // A block larger than the ring is refused there, but counts.
    ring.Write(samplesWritten * 2, reinterpret_cast<const std::uint8_t*>(source),
               static_cast<std::int64_t>(data.frames) * audio_position::kBytesPerFrame);
    samplesWritten += data.frames * 2;
}

zStatus nxWebRtcAudioRenderer::BufferForParameters(nxBuffer2** out, const nx_renderer_params& params) {
    // Held until the lock is free again: the last reference takes the sinks off their tracks.
    const std::shared_ptr<nxWebRtcRendererData> shared = rendererData.lock();

    mdMediaRecord format(kMediaTypeAudio);
    DescribeFormat(format);
    nxBuffer2* buffer = nullptr;
    bufferGroup->CreateBuffer(format, audio_position::kBlockFrames, 0, &buffer);
    *out = buffer;
    if (buffer == nullptr) return kStatusOk;

    bool filled = false;
    {
        const support::MutexLock lock(audioLock);
        if (shared && shared->audioMuted.load()) {
            ForgetSound();
        } else {
            filled = ReadBlock(params, *buffer);
        }
    }
    if (!audioActive.load() || !filled) Silence(*buffer);
    StampBuffer(params, *buffer);
    return kStatusOk;
}

void nxWebRtcAudioRenderer::ForgetSound() {
    if (samplesWritten == 0) return;
    ring.Clear();
    samplesWritten = 0;
    consumerClocks.clear();
}

bool nxWebRtcAudioRenderer::ReadBlock(const nx_renderer_params& params, nxBuffer2& buffer) {
    const std::int64_t timeUs = params.presentationTimeUs;
    ConsumerClock& clock = consumerClocks[params.consumerKey];
    if (clock.base == kUnset) {
        clock.base = audio_position::BaseFor(timeUs, samplesWritten);
        clock.syncTime = timeUs;
    }

    const std::int64_t frame = audio_position::FrameAt(timeUs, clock.base);
    bool filled = false;
    if (audio_position::BlockIsWritten(frame, samplesWritten)) {
        const auto position = static_cast<std::uint64_t>(frame * audio_position::kBytesPerFrame);
        filled = ring.Read(position, buffer.Data(), audio_position::kBlockBytes);
    } else if (frame > 0) {
        clock.base = kUnset;  // ahead of what has arrived
    }
    if (clock.syncTime != kUnset && audio_position::IsSettling(timeUs, clock.syncTime)) Silence(buffer);
    return filled;
}

void nxWebRtcAudioRenderer::StampBuffer(const nx_renderer_params& params, nxBuffer2& buffer) const {
    buffer.SetTimestamp(params.presentationTimeUs);
    buffer.SetInt32(FourCC("rams"), static_cast<std::int32_t>(ramsValue.load()));
    for (std::uint32_t index = 0; index < cbsValues.size(); ++index) {
        const std::uint64_t value = cbsValues[index].load();
        if (value != kDefaultCbs) buffer.SetUInt64(FourCC("cBs0") + index, value);
    }
}

const char* nxWebRtcAudioRenderer::PlugName(zString& out) {
    out.Assign(name);
    const char* const text = out.Text();
    return text != nullptr ? text : "";
}

bool nxWebRtcAudioRenderer::IsAudioMuted() {
    const std::shared_ptr<nxWebRtcRendererData> shared = rendererData.lock();
    return shared && shared->audioMuted.load();
}

void nxWebRtcAudioRenderer::SetAudioMuted(bool muted) {
    const std::shared_ptr<nxWebRtcRendererData> shared = rendererData.lock();
    if (!shared) return;
    shared->audioMuted.store(muted);
    shared->SendTallyIfChanged();
    shared->UpdateAudioTrackEnabled();
}

bool nxWebRtcAudioRenderer::IsAudioEnabled() {
    const std::shared_ptr<nxWebRtcRendererData> shared = rendererData.lock();
    return shared && shared->audioEnabled.load();
}

void nxWebRtcAudioRenderer::SetAudioEnabled(bool enabled) {
    const std::shared_ptr<nxWebRtcRendererData> shared = rendererData.lock();
    if (!shared) return;
    shared->audioEnabled.store(enabled);
    shared->UpdateAudioTrackEnabled();
}

void nxWebRtcAudioRenderer::SetCbsValue(std::int32_t index, std::uint64_t value) {
    if (index < 0 || index > 3) return;
    cbsValues[static_cast<std::size_t>(index)] = value;
}

nxWebRtcAudioRenderer::Sink::Sink(std::weak_ptr<nxWebRtcAudioRenderer> owner)
    : vo_webrtc::voAudioTrackInterface::Sink(&voCallback::Delete), renderer(std::move(owner)) {}

void nxWebRtcAudioRenderer::Sink::OnData(const vo_webrtc::voAudioData& data) {
    if (const std::shared_ptr<nxWebRtcAudioRenderer> owner = renderer.lock()) owner->OnAudioData(data);
}
