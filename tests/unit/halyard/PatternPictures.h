// Pictures and sound of the test pattern, for tests that look at them.
#pragma once

#include <cstdint>
#include <span>

#include "host/media/nxBuffer2.h"
#include "host/media/nxBufferGroup2.h"
#include "host_runtime/media/BufferGroup.h"
#include "host_runtime/sources/HostPointer.h"
#include "tests/fakes/plugin/PatternRenderers.h"

namespace tests {

using BufferPointer = host_runtime::HostPointer<nxBuffer2>;

class PatternPictures {
public:
    BufferPointer Picture(int width, int height, std::uint32_t frame, std::uint64_t senderTimeUs,
                          bool flash = false) const {
        const BufferPointer picture = Empty(width, height);
        fakes::PaintPattern(*picture, frame, senderTimeUs, flash);
        return picture;
    }

    BufferPointer Empty(int width, int height) const {
        return BufferPointer::Adopt(fakes::MakePatternPicture(*group, width, height));
    }

    // 1600 frames from `timeUs` on; beeps begin at `beepUs` and each second later.
    BufferPointer Sound(std::int64_t timeUs, std::int64_t beepUs) const {
        const BufferPointer sound = Silence();
        fakes::FillPatternSound(*sound, timeUs, beepUs);
        return sound;
    }

    BufferPointer Silence() const {
        mdMediaRecord record(kMediaTypeAudio);
        record.SetInt32(FourCC("msmr"), 48'000);
        record.SetInt32(FourCC("mcha"), 2);
        record.SetInt32(FourCC("mbps"), 16);
        nxBuffer2* buffer = nullptr;
        group->CreateBuffer(record, 1600, 0, &buffer);
        return BufferPointer::Adopt(buffer);
    }

    static std::span<const std::int16_t> Samples(nxBuffer2& sound) {
        return {reinterpret_cast<const std::int16_t*>(sound.Data()), sound.DataSize() / 2};
    }

private:
    const host_runtime::HostPointer<nxBufferGroup2> group =
        host_runtime::HostPointer<nxBufferGroup2>::Adopt(host_runtime::BufferGroup::Make());
};

}  // namespace tests
