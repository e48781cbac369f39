// What the tests of the renderers share: renderer data with a fake socket, renderers owned as a connection
// owns them, pictures and pulls.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "renderers/nxWebRtcAudioRenderer.h"
#include "renderers/nxWebRtcRendererData.h"
#include "renderers/nxWebRtcVideoRenderer.h"
#include "tests/fakes/FakeWebSocket.h"
#include "tests/fakes/webrtc/FakeWebRtc.h"
#include "tests/unit/renderers/ScriptedBufferGroup.h"

namespace tests {

// A plain planar picture with rows longer than its width.
class Picture {
public:
    Picture(std::int32_t width, std::int32_t height, std::uint8_t luma, std::uint8_t u = 100,
            std::uint8_t v = 200)
        : chromaHeight((height + 1) / 2),
          strideLuma(width + 3),
          strideChroma((width + 1) / 2 + 5),
          planeY(static_cast<std::size_t>(strideLuma * height), luma),
          planeU(static_cast<std::size_t>(strideChroma * chromaHeight), u),
          planeV(static_cast<std::size_t>(strideChroma * chromaHeight), v) {
        frame.width = width;
        frame.height = height;
        frame.y = planeY.data();
        frame.u = planeU.data();
        frame.v = planeV.data();
        frame.strideY = strideLuma;
        frame.strideU = strideChroma;
        frame.strideV = strideChroma;
    }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;

    void SetLuma(std::int32_t x, std::int32_t y, std::uint8_t luma) {
        planeY[static_cast<std::size_t>(y * strideLuma + x)] = luma;
    }

    vo_webrtc::voI420Frame frame;

private:
    const std::int32_t chromaHeight;
    const std::int32_t strideLuma;
    const std::int32_t strideChroma;
    std::vector<std::uint8_t> planeY;
    std::vector<std::uint8_t> planeU;
    std::vector<std::uint8_t> planeV;
};

class RendererTest : public testing::Test {
protected:
    ~RendererTest() override { fakes::FakeWebRtc::Forget(); }

    std::shared_ptr<nxWebRtcVideoRenderer> MakeVideoRenderer(const char* name = "phone") {
        return {new nxWebRtcVideoRenderer(name, &group, data), ReleaseReference()};
    }
    std::shared_ptr<nxWebRtcAudioRenderer> MakeAudioRenderer(const char* name = "phone") {
        return {new nxWebRtcAudioRenderer(name, &group, data), ReleaseReference()};
    }

    static BufferPointer Pull(nxRenderer2& renderer, std::int64_t timeUs, std::uint64_t key = 1) {
        nxBuffer2* buffer = nullptr;
        EXPECT_EQ(renderer.BufferForParameters(&buffer, {timeUs, key}), kStatusOk);
        return BufferPointer(buffer);
    }

    ScriptedBufferGroup group;
    std::shared_ptr<fakes::FakeWebSocket> socket = std::make_shared<fakes::FakeWebSocket>();
    std::shared_ptr<nxWebRtcRendererData> data = std::make_shared<nxWebRtcRendererData>(socket, "phone-1");
};

}  // namespace tests
