#include "apps/petrel/FileSource.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace petrel {
namespace {

// Decoding runs ahead; only after a rewind something may have to be waited for.
constexpr std::int64_t kLongestWaitNs = 5'000'000;
// The first picture is decoded already and on its way; before it there is nothing to show.
constexpr std::int64_t kLongestFirstWaitNs = 1'000'000'000;
constexpr std::size_t kFrameBytes = kAudioChannels * sizeof(std::int16_t);

}  // namespace

std::unique_ptr<FileVideoSource> FileVideoSource::Open(const std::string& path, int width, int height,
                                                       int framesPerSecond, std::string& error) {
    const std::string conversion = fmt::format(
        "videoscale add-borders=true ! videorate ! "
        "video/x-raw,format=I420,width={},height={},framerate={}/1,pixel-aspect-ratio=1/1",
        width, height, framesPerSecond);
    std::unique_ptr<LoopedFile> file = LoopedFile::Open(path, "video", conversion, error);
    if (file == nullptr) return nullptr;
    return std::unique_ptr<FileVideoSource>(new FileVideoSource(std::move(file), framesPerSecond));
}

FileVideoSource::FileVideoSource(std::unique_ptr<LoopedFile> toPlay, int framesPerSecond)
    : file(std::move(toPlay)), picturesPerRound(file->DurationNs() / 1'000'000 * framesPerSecond / 1000) {}

GstHandle<GstBuffer> FileVideoSource::NextPicture(std::int64_t) {
    if (RoundIsOver()) {
        file->Rewind();
        shownThisRound = 0;
        decodedThisRound = 0;
    }
    if (const GstHandle<GstSample> sample =
            file->Next(current != nullptr ? kLongestWaitNs : kLongestFirstWaitNs)) {
        current.reset(gst_buffer_ref(gst_sample_get_buffer(sample.get())));
        ++decodedThisRound;
    }
    ++shownThisRound;
    return GstHandle<GstBuffer>(current != nullptr ? gst_buffer_ref(current.get()) : nullptr);
}

// A file with a single picture is a still: it stays.
bool FileVideoSource::RoundIsOver() const {
    if (!file->AtEnd() && (picturesPerRound == 0 || shownThisRound < picturesPerRound)) return false;
    return decodedThisRound > 1 && shownThisRound >= picturesPerRound;
}

std::unique_ptr<FileAudioSource> FileAudioSource::Open(const std::string& path, std::string& error) {
    const std::string conversion =
        fmt::format("audioresample ! audio/x-raw,format=S16LE,rate={},channels={},layout=interleaved",
                    kAudioRate, kAudioChannels);
    std::unique_ptr<LoopedFile> file = LoopedFile::Open(path, "audio", conversion, error);
    if (file == nullptr) return nullptr;
    return std::unique_ptr<FileAudioSource>(new FileAudioSource(std::move(file)));
}

FileAudioSource::FileAudioSource(std::unique_ptr<LoopedFile> toPlay)
    : file(std::move(toPlay)), framesPerRound(file->DurationNs() / 1000 * kAudioRate / 1'000'000) {}

void FileAudioSource::NextBlock(std::int64_t, std::int16_t* samples) {
    const bool exhausted = pending == nullptr && file->AtEnd();
    if (playedThisRound > 0 && playedThisRound >= framesPerRound && (framesPerRound > 0 || exhausted)) {
        file->Rewind();
        pending.reset();
        playedThisRound = 0;
    }
    auto* out = reinterpret_cast<std::uint8_t*>(samples);
    std::size_t missing = kAudioBlockFrames * kFrameBytes;
    std::memset(out, 0, missing);
    while (missing > 0 && (pending != nullptr || Refill())) {
        GstBuffer* buffer = gst_sample_get_buffer(pending.get());
        const std::size_t taken = gst_buffer_extract(buffer, pendingOffset, out, missing);
        out += taken;
        missing -= taken;
        pendingOffset += taken;
        if (pendingOffset >= gst_buffer_get_size(buffer)) pending.reset();
    }
    playedThisRound += kAudioBlockFrames;
}

bool FileAudioSource::Refill() {
    pending = file->Next(kLongestWaitNs);
    pendingOffset = 0;
    return pending != nullptr;
}

}  // namespace petrel
