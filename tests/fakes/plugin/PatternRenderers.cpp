#include "tests/fakes/plugin/PatternRenderers.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>

#include "host/media/nxBuffer2.h"
#include "host/media/nxBufferGroup2.h"
#include "host/renderer/nxAudioControlsXI.h"
#include "host/renderer/nxRenderer2.h"
#include "support/frame_stamp.h"

namespace fakes {
namespace {

namespace stamp = support::frame_stamp;

constexpr std::int64_t kSecondUs = 1'000'000;

bool Names(const std::string& address, const char* word) {
    return address.find(word) != std::string::npos;
}

void SizeIn(const std::string& address, int& width, int& height) {
    const std::size_t digits = address.find_first_of("0123456789");
    if (digits == std::string::npos) return;
    std::sscanf(address.c_str() + digits, "%dx%d", &width, &height);
}

class PatternVideo final : public nxRenderer2 {
public:
    PatternVideo(std::string patternAddress, nxBufferGroup2* group)
        : nxRenderer2(group), address(std::move(patternAddress)) {}
    ~PatternVideo() override {
        if (latest != nullptr) latest->Release();
    }

    zStatus QueryInterface(const char*, void** out) override {
        if (out != nullptr) *out = nullptr;
        return kStatusFailed;
    }
    mdMediaType MediaType() override { return kMediaTypeVideo; }
    zStatus OutputFormat(mdMediaType, mdMediaRecord&, std::int32_t) override { return kStatusOk; }

    zStatus BufferForParameters(nxBuffer2** out, const nx_renderer_params& params) override {
        if (Names(address, "black")) {
            *out = bufferGroup->CreateColoredBuffer(720, 480, 0);
            return kStatusOk;
        }
        const std::int64_t frame = params.presentationTimeUs / kPatternFrameUs;
        if (latest == nullptr || frame != latestFrame) Paint(frame);
        if (latest != nullptr) latest->AddRef();
        *out = latest;
        return kStatusOk;
    }

private:
    void Paint(std::int64_t frame) {
        const std::int64_t timeUs = frame * kPatternFrameUs;
        int width = 320;
        int height = 180;
        SizeIn(address, width, height);
        if (Names(address, "resizing") && (timeUs / kSecondUs) % 2 != 0) {
            width = 320;
            height = 240;
        }
        if (latest != nullptr) latest->Release();
        latest = MakePatternPicture(*bufferGroup, width, height);
        latestFrame = frame;
        if (latest == nullptr) return;
        PaintPattern(*latest, static_cast<std::uint32_t>(frame),
                     static_cast<std::uint64_t>(timeUs - kPatternAgeUs),
                     timeUs % kSecondUs < stamp::kFlashLengthUs);
        latest->SetTimestamp(timeUs);
    }

    const std::string address;
    nxBuffer2* latest = nullptr;
    std::int64_t latestFrame = -1;
};

class PatternAudio final : public nxRenderer2, public nxAudioControlsXI {
public:
    PatternAudio(const std::string& address, nxBufferGroup2* group)
        : nxRenderer2(group), silent(Names(address, "silent")) {}

    zStatus QueryInterface(const char* name, void** out) override {
        if (CompareInterfaceName(name, "nxAudioControlsXI"))
            return GetInterface(static_cast<nxAudioControlsXI*>(this), out);
        if (out != nullptr) *out = nullptr;
        return kStatusFailed;
    }
    std::uint32_t AddRef() override { return Concrete_AddRef(); }
    std::uint32_t Release() override { return Concrete_Release(); }
    mdMediaType MediaType() override { return kMediaTypeAudio; }
    zStatus OutputFormat(mdMediaType, mdMediaRecord&, std::int32_t) override { return kStatusOk; }

    zStatus BufferForParameters(nxBuffer2** out, const nx_renderer_params& params) override {
        mdMediaRecord record(kMediaTypeAudio);
        record.SetInt32(FourCC("msmr"), 48'000);
        record.SetInt32(FourCC("mcha"), 2);
        record.SetInt32(FourCC("mbps"), 16);
        bufferGroup->CreateBuffer(record, 1600, 0, out);
        if (*out == nullptr) return kStatusOk;
        (*out)->SetTimestamp(params.presentationTimeUs);
        if (enabled && !muted && !silent)
            FillPatternSound(**out, params.presentationTimeUs, kBeepAfterFlashUs);
        return kStatusOk;
    }

    bool IsAudioMuted() override { return muted; }
    void SetAudioMuted(bool newMuted) override { muted = newMuted; }
    bool IsAudioEnabled() override { return enabled; }
    void SetAudioEnabled(bool newEnabled) override { enabled = newEnabled; }

private:
    const bool silent;
    std::atomic<bool> muted{false};
    std::atomic<bool> enabled{false};
};

}  // namespace

std::shared_ptr<nxRenderer2> MakePatternRenderer(const std::string& address, mdMediaType mediaType,
                                                 nxBufferGroup2* bufferGroup) {
    nxRenderer2* renderer = nullptr;
    if (mediaType == kMediaTypeVideo) {
        renderer = new PatternVideo(address, bufferGroup);
    } else {
        renderer = new PatternAudio(address, bufferGroup);
    }
    return {renderer, [](nxRenderer2* owned) { owned->Release(); }};
}

nxBuffer2* MakePatternPicture(nxBufferGroup2& group, int width, int height) {
    mdMediaRecord record(kMediaTypeVideo);
    record.SetInt32(FourCC("mwid"), width);
    record.SetInt32(FourCC("mhei"), height);
    record.SetInt32(FourCC("mcol"), static_cast<std::int32_t>(kPixelFormatUYVY));
    record.SetBytesPerRowBasedOnFormat();
    nxBuffer2* buffer = nullptr;
    if (group.CreateBuffer(record, &buffer) != kStatusOk || buffer == nullptr) return nullptr;
    buffer->SetBool(FourCC("vidI"), true);
    buffer->SetInt32(FourCC("mdSQ"), width);
    buffer->SetInt32(FourCC("mdSH"), height);
    return buffer;
}

void PaintPattern(nxBuffer2& buffer, std::uint32_t frameNumber, std::uint64_t senderTimeUs, bool flash) {
    const int width = buffer.GetDisplayWidth();
    const int height = buffer.GetDisplayHeight();
    const nxPixelStore store = buffer.LockPixelsForWriting();
    std::memset(store.baseAddress, 0x80, buffer.DataSize());
    const auto paint = [&store](const stamp::Area& area, bool white) {
        for (int y = area.y; y < area.y + area.height; ++y) {
            for (int x = area.x; x < area.x + area.width; ++x)
                store.baseAddress[y * store.bytesPerRow + x * 2 + 1] = white ? 235 : 16;
        }
    };
    const auto bits = stamp::Encode({frameNumber, senderTimeUs});
    for (int index = 0; index < stamp::kBits; ++index)
        paint(stamp::BlockArea(index, width), bits[static_cast<std::size_t>(index)]);
    paint(stamp::FlashArea(width, height), flash);
    buffer.UnlockPixels();
}

void FillPatternSound(nxBuffer2& buffer, std::int64_t timeUs, std::int64_t beepStartUs) {
    const std::size_t frames = buffer.DataSize() / 4;
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const double sampleUs = static_cast<double>(timeUs) + static_cast<double>(frame) * 1e6 / 48'000.0;
        const double sinceBeepUs =
            std::fmod(sampleUs - static_cast<double>(beepStartUs), static_cast<double>(kSecondUs));
        const bool beeps = sinceBeepUs >= 0 && sinceBeepUs < static_cast<double>(stamp::kFlashLengthUs);
        const double level = beeps ? stamp::kBeepLevel : stamp::kQuietToneLevel;
        const double hertz = beeps ? stamp::kBeepHertz : stamp::kQuietToneHertz;
        const double value = level * 32'767.0 * std::sin(2.0 * std::numbers::pi * hertz * sampleUs / 1e6);
        const auto sample = static_cast<std::int16_t>(std::lround(value));
        const std::int16_t both[2] = {sample, sample};
        std::memcpy(buffer.Data() + frame * 4, both, sizeof both);
    }
}

}  // namespace fakes
