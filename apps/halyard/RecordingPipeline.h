// Encodes pictures and sound into one Matroska file: H.264 and Opus. Of one thread.
#pragma once

#include <gst/gst.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

class nxBuffer2;

namespace halyard {

class RecordingPipeline {
public:
    // Null, with one sentence in `error`. The size stays that of the recording: pictures of another size are
    // scaled into it, with borders. Times count from `originUs`.
    static std::unique_ptr<RecordingPipeline> Start(const std::filesystem::path& file, int width, int height,
                                                    std::int64_t originUs, std::string& error);
    RecordingPipeline(const RecordingPipeline&) = delete;
    RecordingPipeline& operator=(const RecordingPipeline&) = delete;
    ~RecordingPipeline();

    // Whether the encoders keep up; when not, wait before pushing more.
    bool HasRoom() const;
    // Both take a reference of their own and return at once. Sound from before the origin is left out.
    void PushPicture(nxBuffer2& picture, std::int64_t timeUs);
    void PushSound(nxBuffer2& sound, std::int64_t timeUs);

    // False, with one sentence, once the pipeline has failed.
    bool IsWell(std::string& error);
    // Ends both streams and waits until the file is complete; false with one sentence when it is not by then.
    bool Finish(GstClockTime timeout, std::string& error);

private:
    RecordingPipeline(GstElement* ownedPipeline, std::int64_t startUs);
    bool TakeError(GstMessage* message, std::string& error) const;

    GstElement* pipeline;
    GstElement* pictures;
    GstElement* sounds;
    const std::int64_t originUs;
    int pictureWidth = 0;
    int pictureHeight = 0;
};

}  // namespace halyard
