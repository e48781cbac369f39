// The host's buffers behind a group that a test can make fail or interrupt.
#pragma once

#include <array>
#include <cstring>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "host/media/nxBuffer2.h"
#include "host_runtime/media/BufferGroup.h"
#include "tests/fakes/BufferDouble.h"
#include "tests/unit/renderers/WatchedPicture.h"

namespace tests {

struct ReleaseReference {
    template <class Counted>
    void operator()(Counted* object) const {
        object->Release();
    }
};
using BufferPointer = std::unique_ptr<nxBuffer2, ReleaseReference>;

// A block of sound that tells when its memory is asked for.
class TellingSoundBuffer final : public BufferDouble {
public:
    explicit TellingSoundBuffer(std::function<void()> function)
        : BufferDouble(kMediaTypeAudio), beforeData(std::move(function)) {}

    std::uint8_t* Data() override {
        beforeData();
        return data.data();
    }
    std::size_t DataSize() const override { return data.size(); }

private:
    ~TellingSoundBuffer() override = default;

    std::array<std::uint8_t, 6400> data{};
    const std::function<void()> beforeData;
};

class ScriptedBufferGroup final : public nxBufferGroup2 {
public:
    struct Coloured {
        std::int32_t width = 0;
        std::int32_t height = 0;
        std::uint32_t colour = 0;
        friend bool operator==(const Coloured&, const Coloured&) = default;
    };

    ScriptedBufferGroup() : group(host_runtime::BufferGroup::Make()) {}
    ~ScriptedBufferGroup() override = default;

    std::uint32_t AddRef() override { return ++references; }
    std::uint32_t Release() override { return --references; }

    zStatus CreateBuffer(const mdMediaRecord& record, nxBuffer2** out) override {
        if (beforeCreate) beforeCreate();
        if (withoutPixels) return CreateSound(out);
        if (watched != nullptr) {
            *out = new WatchedPicture(record, *watched);
            return kStatusOk;
        }
        if (refuse) return Refuse(out);
        const zStatus status = group->CreateBuffer(record, out);
        if (status == kStatusOk) (*out)->SetTimestamp(pictureTimestamp);
        return status;
    }
    zStatus CreateBuffer(const mdMediaRecord& record, std::int32_t frames, std::uint32_t flags,
                         nxBuffer2** out) override {
        soundRequest = {frames, flags};
        if (beforeSoundData) {
            *out = new TellingSoundBuffer(beforeSoundData);
            return kStatusOk;
        }
        if (refuse) return Refuse(out);
        const zStatus status = group->CreateBuffer(record, frames, flags, out);
        if (status == kStatusOk) std::memset((*out)->Data(), soundBytes, (*out)->DataSize());
        return status;
    }
    nxBuffer2* CreateColoredBuffer(std::int32_t width, std::int32_t height, std::uint32_t colour) override {
        coloured.push_back({width, height, colour});
        return refuse ? nullptr : group->CreateColoredBuffer(width, height, colour);
    }

    std::uint32_t references = 0;  // held by renderers
    bool refuse = false;
    std::int64_t pictureTimestamp = nxBuffer2::kTimestampUnset;  // of a picture that is made
    std::uint8_t soundBytes = 0;            // what a block of sound holds when it is made
    bool withoutPixels = false;             // pictures come without a pixel store
    WatchedPixels* watched = nullptr;       // pictures come as watched ones
    std::function<void()> beforeCreate;     // of a picture
    std::function<void()> beforeSoundData;  // sound comes in a telling buffer
    std::vector<Coloured> coloured;
    std::pair<std::int32_t, std::uint32_t> soundRequest;  // frames and flags of the last one

private:
    static zStatus Refuse(nxBuffer2** out) {
        *out = nullptr;
        return kStatusFailed;
    }
    zStatus CreateSound(nxBuffer2** out) {
        mdMediaRecord record(kMediaTypeAudio);
        record.SetInt32(FourCC("mcha"), 2);
        record.SetInt32(FourCC("mbps"), 16);
        return group->CreateBuffer(record, 16, 0, out);
    }

    const std::unique_ptr<host_runtime::BufferGroup, ReleaseReference> group;
};

}  // namespace tests
