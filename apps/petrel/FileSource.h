// Pictures and sound of files, played over and over. A round lasts as long as the whole file, not as its own
// stream, so that the two sources of one file stay together.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "apps/petrel/LoopedFile.h"
#include "apps/petrel/MediaSource.h"

namespace petrel {

class FileVideoSource : public VideoSource {
public:
    // Scaled into the size, with bars where the shape differs. Null with a sentence in `error`.
    static std::unique_ptr<FileVideoSource> Open(const std::string& path, int width, int height,
                                                 int framesPerSecond, std::string& error);
    GstHandle<GstBuffer> NextPicture(std::int64_t mediaTimeUs) override;

private:
    FileVideoSource(std::unique_ptr<LoopedFile> toPlay, int framesPerSecond);
    bool RoundIsOver() const;

    const std::unique_ptr<LoopedFile> file;
    const std::int64_t picturesPerRound;  // 0 when unknown
    std::int64_t shownThisRound = 0;
    std::int64_t decodedThisRound = 0;
    GstHandle<GstBuffer> current;  // shown again when the next one is late
};

class FileAudioSource : public AudioSource {
public:
    static std::unique_ptr<FileAudioSource> Open(const std::string& path, std::string& error);
    // Silence where the file has no sound left in this round.
    void NextBlock(std::int64_t firstFrame, std::int16_t* samples) override;

private:
    explicit FileAudioSource(std::unique_ptr<LoopedFile> toPlay);
    bool Refill();

    const std::unique_ptr<LoopedFile> file;
    const std::int64_t framesPerRound;  // 0 when unknown
    std::int64_t playedThisRound = 0;
    GstHandle<GstSample> pending;  // partly used
    std::size_t pendingOffset = 0;
};

}  // namespace petrel
