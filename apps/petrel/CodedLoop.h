// Pictures that were coded before anybody watched, to be sent again and again: a phone that costs its machine
// as little as one with an encoder of its own. The loop begins at the whole multiples of its length, so that
// the time within it tells what is sent at each moment.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "apps/petrel/CodedMediaSink.h"
#include "apps/petrel/MediaSource.h"
#include "apps/petrel/SimulateOptions.h"
#include "support/frame_stamp.h"

namespace petrel {

class CodedLoop {
public:
    static constexpr int kSeconds = static_cast<int>(support::frame_stamp::kLoopUs / 1'000'000);

    // Takes as long as the encoder needs for all of it. Null with a sentence in `error` when it leaves a
    // picture out or the source has none.
    static std::unique_ptr<CodedLoop> Encode(const SimulateOptions& options, VideoSource& video,
                                             std::string& error);

    // One access unit and what it is; `number` counts pictures since any whole multiple of the length.
    struct Picture {
        GstHandle<GstBuffer> unit;
        GstHandle<GstCaps> caps;
    };
    const Picture& At(std::int64_t number) const {
        return pictures[static_cast<std::size_t>(number) % pictures.size()];
    }

private:
    explicit CodedLoop(std::vector<Picture> coded) : pictures(std::move(coded)) {}

    const std::vector<Picture> pictures;
};

}  // namespace petrel
