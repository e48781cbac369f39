// The test picture as a source: counts the pictures and stamps each.
#pragma once

#include <gst/video/video.h>

#include <vector>

#include "apps/petrel/MediaSource.h"
#include "apps/petrel/TestPattern.h"

namespace petrel {

// The moment it is painted, by the steady clock, or the time it was asked for.
enum class StampedTime { Painted, Asked };

class PatternSource : public VideoSource {
public:
    // Turns by itself each time so many seconds have passed; never with 0.
    PatternSource(int pictureWidth, int pictureHeight, int secondsBetweenTurns = 0,
                  StampedTime timeToStamp = StampedTime::Painted);
    ~PatternSource() override;

    GstHandle<GstBuffer> NextPicture(std::int64_t mediaTimeUs) override;
    Posture LatestPosture() const override { return posture; }

private:
    struct Canvas {
        Canvas(int width, int height);
        GstVideoInfo info;
        TestPattern pattern;
        GstHandle<GstBufferPool> pool;
    };

    const std::int64_t usBetweenTurns;
    const StampedTime stampedTime;
    std::vector<Canvas> canvases;  // by posture
    Posture posture = Posture::AsAsked;
    std::uint32_t nextFrameNumber = 0;
};

}  // namespace petrel
