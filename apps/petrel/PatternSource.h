// The test picture as a source: counts the pictures and stamps each at the moment of painting.
#pragma once

#include "apps/petrel/MediaSource.h"
#include "apps/petrel/TestPattern.h"

namespace petrel {

class PatternSource : public VideoSource {
public:
    PatternSource(int pictureWidth, int pictureHeight);
    ~PatternSource() override;

    GstHandle<GstBuffer> NextPicture(std::int64_t mediaTimeUs) override;

private:
    int width;
    int height;
    TestPattern pattern;
    GstHandle<GstBufferPool> pool;
    std::uint32_t nextFrameNumber = 0;
};

}  // namespace petrel
