// What one receiver sees of one stream of the test pattern while it is watched: how many pictures, how many
// different ones, and how old each is when the receiver has it.
#pragma once

#include <chrono>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "support/annotated_mutex.h"
#include "support/frame_stamp.h"

namespace benchmarks {

// The steady clock, which the sender of the pattern shares.
std::int64_t NowUs();

class StreamWatch {
public:
    // A picture that the receiver did not have before. `packed` is UYVY, top row first.
    struct Picture {
        int width = 0;
        int height = 0;
        const std::uint8_t* packed = nullptr;
        std::int64_t bytesPerRow = 0;
    };

    StreamWatch();

    // [any-thread] Counts from now on; without stamps it only counts, which costs nothing.
    void Begin(bool readStamps);
    void OnPicture(const Picture& picture, std::int64_t nowUs);
    bool HasPicture() const;
    // False when there is none until the deadline.
    bool WaitForPicture(std::chrono::steady_clock::time_point deadline) const;
    // Of the first picture ever; nothing before it.
    std::optional<std::int64_t> FirstPictureAtUs() const;

    struct Result {
        double seconds = 0;
        std::int64_t pictures = 0;
        std::int64_t distinct = 0;  // other frame numbers than the one before; 0 without stamps
        std::int64_t skipped = 0;   // frame numbers left out
        std::vector<double> latenciesMs;
    };
    Result Now() const;

private:
    mutable support::Mutex mutex;
    mutable support::Condition begun;  // there is a first picture
    bool stamps GUARDED_BY(mutex) = false;
    std::int64_t begunAtUs GUARDED_BY(mutex) = 0;
    std::optional<std::int64_t> firstPictureAtUs GUARDED_BY(mutex);
    std::optional<std::uint32_t> lastFrame GUARDED_BY(mutex);
    Result counts GUARDED_BY(mutex);
};

// One line for whoever measures: the streams in their order, and the latencies of all of them together.
std::string ResultLine(const std::vector<StreamWatch::Result>& results);
// "p50", "p99" and "max" of values in milliseconds; null without values.
nlohmann::json Percentiles(std::vector<double> values);

}  // namespace benchmarks
