// Encodes pictures and sound into one Matroska file: H.264 and Opus. Of one thread.
#pragma once

#include <gst/gst.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "support/annotated_mutex.h"

class nxBuffer2;

namespace halyard {

class RecordingPipeline {
public:
    // Null, with one sentence in `error`. The size stays that of the recording: pictures of another size are
    // scaled into it, with borders. Times count from `originUs`. `onProgress` is called on GStreamer's
    // threads whenever HasRoom(), IsWell() or IsComplete() may have changed.
    static std::unique_ptr<RecordingPipeline> Start(const std::filesystem::path& file, int width, int height,
                                                    std::int64_t originUs, std::function<void()> onProgress,
                                                    std::string& error);
    RecordingPipeline(const RecordingPipeline&) = delete;
    RecordingPipeline& operator=(const RecordingPipeline&) = delete;
    ~RecordingPipeline();

    // Whether the encoders keep up; when not, wait before pushing more.
    bool HasRoom() const;
    // Both take a reference of their own and return at once. Sound from before the origin is left out.
    void PushPicture(nxBuffer2& picture, std::int64_t timeUs);
    void PushSound(nxBuffer2& sound, std::int64_t timeUs);

    // False, with one sentence, once the pipeline has failed.
    bool IsWell(std::string& error) const EXCLUDES(mutex);
    // Ends both streams; the file is complete some time later.
    void End();
    bool IsComplete() const { return complete; }
    // How much the encoders have taken so far: what stays the same stands still.
    std::uint64_t Taken() const { return taken; }

private:
    RecordingPipeline(GstElement* ownedPipeline, std::int64_t startUs, std::function<void()> toTell);
    void TellWhenTaken(GstElement* source);
    void OnMessage(GstMessage& message) EXCLUDES(mutex);

    GstElement* pipeline;
    GstElement* pictures;
    GstElement* sounds;
    const std::int64_t originUs;
    const std::function<void()> onProgress;
    int pictureWidth = 0;
    int pictureHeight = 0;
    std::atomic<std::uint64_t> taken{0};
    std::atomic<bool> complete{false};
    mutable support::Mutex mutex;
    std::string failure GUARDED_BY(mutex);
};

}  // namespace halyard
