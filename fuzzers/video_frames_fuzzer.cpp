// Frames of odd sizes and strides, also impossible ones, through the video renderer into host buffers.
#include <fuzzer/FuzzedDataProvider.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "fuzzers/Harness.h"
#include "host/media/nxBuffer2.h"
#include "host_runtime/media/BufferGroup.h"
#include "renderers/nxWebRtcAudioRenderer.h"
#include "renderers/nxWebRtcRendererData.h"
#include "renderers/nxWebRtcVideoRenderer.h"
#include "tests/fakes/BufferDouble.h"
#include "tests/fakes/FakeWebSocket.h"
#include "tests/fakes/webrtc/FakeBody.h"

namespace {

using fuzzing::Require;

constexpr int kMostSteps = 24;
constexpr std::size_t kPage = 4096;
constexpr std::size_t kPlaneBytes = 64 * kPage;
constexpr std::uint8_t kUntouched = 0xA5;

// A plane that ends where memory ends, so that not even a vector instruction reads past it unnoticed.
class Plane {
public:
    Plane()
        : memory(static_cast<std::uint8_t*>(mmap(nullptr, kPlaneBytes + kPage, PROT_READ | PROT_WRITE,
                                                 MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        Require(memory != MAP_FAILED && mprotect(memory + kPlaneBytes, kPage, PROT_NONE) == 0,
                "there is memory");
    }

    const std::uint8_t* Fill(std::size_t size, std::uint8_t seed) {
        std::uint8_t* const begin = memory + kPlaneBytes - size;
        for (std::size_t index = 0; index < size; ++index)
            begin[index] = static_cast<std::uint8_t>(seed + index * 37 + (index >> 8) * 11);
        return begin;
    }

private:
    std::uint8_t* const memory;
};

// A picture buffer whose memory is exactly what its record says, with rows wider than needed if told so.
class ExactBuffer final : public tests::BufferDouble {
public:
    ExactBuffer(const mdMediaRecord& record, std::int32_t rowBytes, std::int32_t rows)
        : BufferDouble(kMediaTypeVideo), bytesPerRow(rowBytes) {
        static_cast<mdMediaRecord&>(*this) = record;
        size = static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(rows);
        memory.reset(new std::uint8_t[size]);
        std::memset(memory.get(), kUntouched, size);
        ++alive;
    }
    nxPixelStore LockPixelsForWriting() override { return {memory.get(), bytesPerRow}; }
    std::uint8_t* Data() override { return memory.get(); }
    std::size_t DataSize() const override { return size; }

    static std::int64_t Alive() { return alive; }

private:
    ~ExactBuffer() override { --alive; }

    static inline std::int64_t alive = 0;
    const std::int32_t bytesPerRow;
    std::size_t size = 0;
    std::unique_ptr<std::uint8_t[]> memory;
};

class ExactGroup final : public nxBufferGroup2 {
public:
    ~ExactGroup() override = default;
    std::uint32_t AddRef() override { return ++references; }
    std::uint32_t Release() override { return --references; }
    zStatus CreateBuffer(const mdMediaRecord& record, nxBuffer2** out) override {
        if (useHost) return Host().CreateBuffer(record, out);
        *out = nullptr;
        const std::int32_t height = record.AsInt32(FourCC("mhei"), 0);
        const std::int64_t needed = record.AsInt32(FourCC("mbpr"), 0);
        const bool usable = height > 0 && needed > 0 && (needed + rowPadding) * height <= 1 << 20;
        if (!usable || refuse) return kStatusFailed;
        *out = new ExactBuffer(record, static_cast<std::int32_t>(needed) + rowPadding, height);
        return kStatusOk;
    }
    zStatus CreateBuffer(const mdMediaRecord& record, std::int32_t frames, std::uint32_t flags,
                         nxBuffer2** out) override {
        return Host().CreateBuffer(record, frames, flags, out);
    }
    nxBuffer2* CreateColoredBuffer(std::int32_t width, std::int32_t height, std::uint32_t colour) override {
        return Host().CreateColoredBuffer(width, height, colour);
    }

    std::uint32_t references = 0;
    std::int32_t rowPadding = 0;
    bool refuse = false;
    bool useHost = false;

private:
    static host_runtime::BufferGroup& Host() {
        static host_runtime::BufferGroup* const group = host_runtime::BufferGroup::Make();
        return *group;
    }
};

struct Picture {
    vo_webrtc::voI420Frame frame;
    bool valid = false;
};

// Frames whose planes are as long as the decoder's are: the last row ends with its last pixel.
class Frames {
public:
    Picture Next(FuzzedDataProvider& bytes) {
        Picture picture;
        vo_webrtc::voI420Frame& frame = picture.frame;
        const bool wide = bytes.ConsumeIntegralInRange(0, 7) == 0;
        frame.width = bytes.ConsumeIntegralInRange(1, wide ? 5000 : 80);
        frame.height = bytes.ConsumeIntegralInRange(1, wide ? 7 : 48);
        const std::int32_t pairs = (frame.width + 1) / 2;
        const std::int32_t chromaRows = (frame.height + 1) / 2;
        frame.strideY = frame.width + bytes.ConsumeIntegralInRange(0, 70);
        frame.strideU = pairs + bytes.ConsumeIntegralInRange(0, 70);
        frame.strideV = pairs + bytes.ConsumeIntegralInRange(0, 70);
        const auto seed = bytes.ConsumeIntegral<std::uint8_t>();
        frame.y = y.Fill(SizeOf(frame.strideY, frame.height, frame.width), seed);
        frame.u = u.Fill(SizeOf(frame.strideU, chromaRows, pairs), static_cast<std::uint8_t>(seed + 85));
        frame.v = v.Fill(SizeOf(frame.strideV, chromaRows, pairs), static_cast<std::uint8_t>(seed + 170));
        picture.valid = !Spoil(bytes, frame);
        return picture;
    }

private:
    static std::size_t SizeOf(std::int32_t stride, std::int32_t rows, std::int32_t lastRow) {
        return static_cast<std::size_t>(stride * (rows - 1) + lastRow);
    }

    // Now and then a frame that the library should never deliver.
    static bool Spoil(FuzzedDataProvider& bytes, vo_webrtc::voI420Frame& frame) {
        constexpr std::int32_t kSizes[] = {0, -1, 1 << 30, INT32_MAX, INT32_MIN};
        switch (bytes.ConsumeIntegralInRange(0, 31)) {
            case 0:
                frame.y = nullptr;
                return true;
            case 1:
                frame.v = nullptr;
                return true;
            case 2:
                frame.width = bytes.PickValueInArray(kSizes);
                return true;
            case 3:
                frame.height = bytes.PickValueInArray(kSizes);
                return true;
            case 4:
                frame.strideY = -frame.strideY;
                return true;
            case 5:
                frame.strideU = (frame.width + 1) / 2 - 1;
                return true;
            case 6:
                frame.strideV = INT32_MIN;
                return true;
            default:
                return false;
        }
    }

    Plane y;
    Plane u;
    Plane v;
};

void RequirePicture(const vo_webrtc::voI420Frame& frame, nxBuffer2& buffer, bool checkPadding) {
    const nxPixelStore pixels = buffer.LockPixelsForWriting();
    const std::int32_t used = (frame.width + 1) / 2 * 4;
    for (std::int32_t row = 0; row < frame.height; ++row) {
        const std::uint8_t* out = pixels.baseAddress + std::ptrdiff_t{row} * pixels.bytesPerRow;
        const std::uint8_t* y = frame.y + std::ptrdiff_t{row} * frame.strideY;
        const std::uint8_t* u = frame.u + std::ptrdiff_t{row / 2} * frame.strideU;
        const std::uint8_t* v = frame.v + std::ptrdiff_t{row / 2} * frame.strideV;
        bool same = true;
        for (std::int32_t x = 0; x < frame.width; x += 2) {
            const std::uint8_t second = x + 1 < frame.width ? y[x + 1] : y[x];
            const std::uint8_t* pair = out + std::ptrdiff_t{x} * 2;
            same = same && pair[0] == u[x / 2] && pair[1] == y[x] && pair[2] == v[x / 2] && pair[3] == second;
        }
        Require(same, "the picture is the frame's");
        for (std::int32_t index = used; checkPadding && index < pixels.bytesPerRow; ++index)
            Require(out[index] == kUntouched, "nothing is written behind the end of a row");
    }
    buffer.UnlockPixels();
}

void RequireUntouched(nxBuffer2& buffer) {
    const std::uint8_t* const bytes = buffer.Data();
    Require(
        std::all_of(bytes, bytes + buffer.DataSize(), [](std::uint8_t byte) { return byte == kUntouched; }),
        "of an impossible frame nothing is written");
}

class Bench {
public:
    explicit Bench(FuzzedDataProvider& data) : bytes(data) {
        group.rowPadding = bytes.ConsumeIntegralInRange(0, 64);
        group.useHost = bytes.ConsumeIntegralInRange(0, 3) == 0;
        renderer.reset(new nxWebRtcVideoRenderer("phone", &group, shared),
                       [](nxWebRtcVideoRenderer* counted) { counted->Release(); });
    }

    void Step(Frames& frames) {
        switch (bytes.ConsumeIntegralInRange(0, 11)) {
            case 0:
                renderer->SetVideoMuted(bytes.ConsumeBool());
                Require(!renderer->IsVideoMuted() || shared, "without shared data nothing is muted");
                break;
            case 1:
                group.refuse = bytes.ConsumeBool();
                break;
            case 2:
                if (bytes.ConsumeIntegralInRange(0, 7) == 0) shared.reset();
                break;
            case 3:
                CheckFormat();
                break;
            case 4:
            case 5:
            case 6:
                Pull();
                break;
            default:
                Deliver(frames);
        }
    }

private:
    void Deliver(Frames& frames) {
        const Picture picture = frames.Next(bytes);
        const bool usable = picture.frame.width > 0 && picture.frame.height > 0;
        const std::int64_t needed = (std::int64_t{picture.frame.width} + 1) / 2 * 4;
        const bool huge = picture.frame.width > 32'768 || picture.frame.height > 32'768 ||
                          (needed + group.rowPadding) * picture.frame.height > 1 << 20;
        renderer->OnVideoFrame(picture.frame);
        if (!shared || !usable || huge || (group.refuse && !group.useHost)) return;
        hasFrame = true;
        stamped = false;
        width = picture.frame.width;
        height = picture.frame.height;
        nxBuffer2* const buffer = Pulled(-5);
        if (!renderer->IsVideoMuted() && picture.valid)
            RequirePicture(picture.frame, *buffer, !group.useHost);
        if (!renderer->IsVideoMuted() && !picture.valid && !group.useHost) RequireUntouched(*buffer);
        buffer->Release();
    }

    void Pull() {
        const auto timeUs = bytes.ConsumeIntegral<std::int64_t>();
        nxBuffer2* const buffer = Pulled(timeUs);
        if (buffer != nullptr) buffer->Release();
    }

    // The caller's reference.
    nxBuffer2* Pulled(std::int64_t timeUs) {
        nxBuffer2* buffer = nullptr;
        Require(renderer->BufferForParameters(&buffer, {timeUs, 1}) == kStatusOk, "a pull always succeeds");
        if (hasFrame && !renderer->IsVideoMuted()) {
            Require(buffer != nullptr, "a held frame is handed out");
            Require(buffer->GetDisplayWidth() == width && buffer->GetDisplayHeight() == height,
                    "the newest frame is handed out");
            Require(!stamped || buffer->Timestamp() == stamp, "a frame keeps the time of its first pull");
            stamp = buffer->Timestamp();
            stamped = stamp != nxBuffer2::kTimestampUnset;
        } else if (buffer != nullptr) {
            Require(buffer->Timestamp() == timeUs, "black carries the time of the pull");
        }
        return buffer;
    }

    void CheckFormat() {
        mdMediaRecord format(kMediaTypeAudio);
        Require(renderer->OutputFormat(kMediaTypeVideo, format, 0) == kStatusOk, "there is always a format");
        Require(format.AsInt32(FourCC("mwid"), 0) >= 1 && format.AsInt32(FourCC("mhei"), 0) >= 1,
                "a picture has a size");
        Require(
            (format.AsInt32(FourCC("mcol"), 0) == static_cast<std::int32_t>(kPixelFormatUYVY)) == hasFrame,
            "the colour format tells whether there was a frame");
    }

    FuzzedDataProvider& bytes;
    ExactGroup group;
    std::shared_ptr<nxWebRtcRendererData> shared = std::make_shared<nxWebRtcRendererData>(nullptr, "phone");
    std::shared_ptr<nxWebRtcVideoRenderer> renderer;
    bool hasFrame = false;
    bool stamped = false;
    std::int64_t stamp = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Frames frames;
    FuzzedDataProvider bytes(data, size);
    {
        Bench bench(bytes);
        for (int step = 0; step < kMostSteps && bytes.remaining_bytes() > 0; ++step)
            bench.Step(frames);
    }
    fuzzing::RequireNoneAlive({{"renderer data", &nxWebRtcRendererData::Alive},
                               {"video renderers", &nxWebRtcVideoRenderer::Alive},
                               {"exact buffers", &ExactBuffer::Alive},
                               {"buffers", &host_runtime::BufferGroup::BuffersAlive},
                               {"wrapper objects", &vo_webrtc::voObject::BaseImpl::Alive}});
    return 0;
}
