#include "host_runtime/media/BufferGroup.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "host_runtime/media/HostBuffer.h"
#include "host_runtime/media/PlainBuffer.h"

namespace host_runtime {
namespace {

constexpr std::int32_t kMostChannels = 64;

bool IsOfType(const mdMediaRecord& record, mdMediaType type) {
    return record.AsInt32(FourCC("type"), static_cast<std::int32_t>(type)) == static_cast<std::int32_t>(type);
}

// The record with its bytes per row, which are widened but never narrowed by the one who asks; 0 bytes
// per row when the record describes no picture.
struct PictureLayout {
    mdMediaRecord record{kMediaTypeVideo};
    std::int32_t bytesPerRow = 0;
    std::size_t size = 0;
};

PictureLayout LayOutPicture(const mdMediaRecord& record) {
    PictureLayout layout;
    layout.record = record;
    const std::int32_t width = record.AsInt32(FourCC("mwid"), 0);
    const std::int32_t height = record.AsInt32(FourCC("mhei"), 0);
    const auto usable = [](std::int32_t side) { return side > 0 && side <= BufferGroup::kLongestSide; };
    if (!usable(width) || !usable(height) || !IsOfType(record, kMediaTypeVideo)) return layout;
    layout.record.SetBytesPerRowBasedOnFormat();
    const std::int32_t needed = layout.record.AsInt32(FourCC("mbpr"), 0);
    const std::int32_t wanted = record.AsInt32(FourCC("mbpr"), needed);
    layout.record.SetInt32(FourCC("mbpr"), wanted);
    const std::int64_t size = std::int64_t{wanted} * height;
    if (wanted < needed || size > BufferGroup::kMostBytes) return layout;
    layout.bytesPerRow = wanted;
    layout.size = static_cast<std::size_t>(size);
    return layout;
}

// 0 when the record describes no sound.
std::size_t SoundSize(const mdMediaRecord& record, std::int32_t frames) {
    const std::int32_t channels = record.AsInt32(FourCC("mcha"), 0);
    const std::int32_t bits = record.AsInt32(FourCC("mbps"), 0);
    const bool usable = IsOfType(record, kMediaTypeAudio) && frames > 0 && channels > 0 &&
                        channels <= kMostChannels && bits > 0 && bits <= 64 && bits % 8 == 0;
    if (!usable) return 0;
    const std::int64_t size = std::int64_t{frames} * channels * (bits / 8);
    return size <= BufferGroup::kMostBytes ? static_cast<std::size_t>(size) : 0;
}

// 0xAARRGGBB as two pixels of limited-range UYVY (ITU-R BT.601); 0 is black, opacity is not carried.
std::uint32_t TwoPixelsOf(std::uint32_t colour) {
    const auto red = static_cast<std::int32_t>((colour >> 16) & 0xFF);
    const auto green = static_cast<std::int32_t>((colour >> 8) & 0xFF);
    const auto blue = static_cast<std::int32_t>(colour & 0xFF);
    const auto luma = static_cast<std::uint8_t>(((66 * red + 129 * green + 25 * blue + 128) >> 8) + 16);
    const auto u = static_cast<std::uint8_t>(((-38 * red - 74 * green + 112 * blue + 128) >> 8) + 128);
    const auto v = static_cast<std::uint8_t>(((112 * red - 94 * green - 18 * blue + 128) >> 8) + 128);
    const std::uint8_t bytes[4] = {u, luma, v, luma};
    std::uint32_t twoPixels = 0;
    std::memcpy(&twoPixels, bytes, sizeof twoPixels);
    return twoPixels;
}

}  // namespace

BufferGroup* BufferGroup::Make() {
    return new BufferGroup;
}

std::int64_t BufferGroup::BuffersAlive() {
    return HostBuffer::Alive();
}

BufferGroup::BufferGroup() : pool(std::make_shared<BlockPool>()) {}

BufferGroup::~BufferGroup() = default;

std::uint32_t BufferGroup::AddRef() {
    return references.fetch_add(1, std::memory_order_relaxed) + 1;
}

std::uint32_t BufferGroup::Release() {
    const std::uint32_t left = references.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete this;
    return left;
}

zStatus BufferGroup::CreateBuffer(const mdMediaRecord& record, nxBuffer2** out) {
    if (out == nullptr) return kStatusFailed;
    *out = nullptr;
    const PictureLayout layout = LayOutPicture(record);
    if (layout.bytesPerRow == 0) return kStatusFailed;
    *out = HostBuffer::Make(pool, layout.record, layout.size, layout.bytesPerRow, HostBuffer::Memory::AsItIs);
    return *out != nullptr ? kStatusOk : kStatusFailed;
}

zStatus BufferGroup::CreateBuffer(const mdMediaRecord& record, std::int32_t frames, std::uint32_t,
                                  nxBuffer2** out) {
    if (out == nullptr) return kStatusFailed;
    *out = nullptr;
    const std::size_t size = SoundSize(record, frames);
    if (size == 0) return kStatusFailed;
    *out = HostBuffer::Make(pool, record, size, 0, HostBuffer::Memory::Zeroed);
    return *out != nullptr ? kStatusOk : kStatusFailed;
}

nxBuffer2* BufferGroup::CreateColoredBuffer(std::int32_t width, std::int32_t height, std::uint32_t colour) {
    mdMediaRecord record(kMediaTypeVideo);
    record.SetInt32(FourCC("mwid"), width);
    record.SetInt32(FourCC("mhei"), height);
    record.SetInt32(FourCC("mcol"), static_cast<std::int32_t>(kPixelFormatUYVY));
    record.SetInt32(FourCC("mdSQ"), width);
    record.SetInt32(FourCC("mdSH"), height);
    const PictureLayout layout = LayOutPicture(record);
    if (layout.bytesPerRow == 0) return nullptr;
    std::shared_ptr<const PlainPixels> pixels = PixelsOf(TwoPixelsOf(colour), layout.size);
    if (pixels == nullptr) return nullptr;
    return PlainBuffer::Make(pool, layout.record, layout.size, layout.bytesPerRow, std::move(pixels));
}

std::shared_ptr<const PlainPixels> BufferGroup::PixelsOf(std::uint32_t twoPixels, std::size_t size) {
    // Painted under the lock: once per colour and size, and nobody else needs to paint it meanwhile.
    const support::MutexLock lock(mutex);
    auto found = std::find_if(plain.begin(), plain.end(), [twoPixels](const auto& pixels) {
        return pixels != nullptr && pixels->Colour() == twoPixels;
    });
    if (found == plain.end()) found = std::prev(plain.end());
    const bool serves = *found != nullptr && (*found)->Colour() == twoPixels && (*found)->Size() >= size;
    if (!serves) {
        std::shared_ptr<const PlainPixels> painted = PlainPixels::Make(pool, twoPixels, size);
        if (painted == nullptr) return nullptr;
        *found = std::move(painted);
    }
    std::rotate(plain.begin(), found, std::next(found));
    return plain.front();
}

}  // namespace host_runtime
