#include "benchmarks/streams/StreamWatch.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <nlohmann/json.hpp>

namespace benchmarks {
namespace {

constexpr std::size_t kExpectedPictures = 30 * 600;

}  // namespace

std::int64_t NowUs() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

StreamWatch::StreamWatch() {
    counts.latenciesMs.reserve(kExpectedPictures);
}

void StreamWatch::Begin(bool readStamps) {
    const support::MutexLock lock(mutex);
    stamps = readStamps;
    begunAtUs = NowUs();
    lastFrame.reset();
    counts.pictures = counts.distinct = counts.skipped = 0;
    counts.latenciesMs.clear();
}

void StreamWatch::OnPicture(const Picture& picture, std::int64_t nowUs) {
    const support::MutexLock lock(mutex);
    if (!firstPictureAtUs) {
        firstPictureAtUs = nowUs;
        begun.NotifyAll();
    }
    ++counts.pictures;
    if (!stamps) return;
    const auto stamp = support::frame_stamp::Read(picture.width, picture.height, [&picture](int x, int y) {
        return int{picture.packed[std::int64_t{y} * picture.bytesPerRow + x * 2 + 1]};
    });
    if (!stamp || lastFrame == stamp->frameNumber) return;
    if (lastFrame && stamp->frameNumber > *lastFrame) counts.skipped += stamp->frameNumber - *lastFrame - 1;
    lastFrame = stamp->frameNumber;
    ++counts.distinct;
    counts.latenciesMs.push_back(static_cast<double>(support::frame_stamp::AgeUs(*stamp, nowUs)) / 1000.0);
}

bool StreamWatch::HasPicture() const {
    return FirstPictureAtUs().has_value();
}

bool StreamWatch::WaitForPicture(std::chrono::steady_clock::time_point deadline) const {
    const support::MutexLock lock(mutex);
    while (!firstPictureAtUs) {
        if (!begun.WaitUntil(mutex, deadline)) break;
    }
    return firstPictureAtUs.has_value();
}

std::optional<std::int64_t> StreamWatch::FirstPictureAtUs() const {
    const support::MutexLock lock(mutex);
    return firstPictureAtUs;
}

StreamWatch::Result StreamWatch::Now() const {
    const support::MutexLock lock(mutex);
    Result result = counts;
    result.seconds = static_cast<double>(NowUs() - begunAtUs) / 1e6;
    return result;
}

nlohmann::json Percentiles(std::vector<double> values) {
    if (values.empty()) return nullptr;
    std::sort(values.begin(), values.end());
    const auto at = [&values](double share) {
        const auto rank = static_cast<std::size_t>(std::ceil(share * static_cast<double>(values.size())));
        return values[std::max<std::size_t>(rank, 1) - 1];
    };
    return {{"p50", at(0.50)}, {"p99", at(0.99)}, {"max", values.back()}};
}

std::string ResultLine(const std::vector<StreamWatch::Result>& results) {
    nlohmann::json line = {{"event", "result"}, {"streams", nlohmann::json::array()}};
    std::vector<double> latencies;
    for (const StreamWatch::Result& result : results) {
        line["streams"].push_back({{"seconds", result.seconds},
                                   {"pictures", result.pictures},
                                   {"distinct", result.distinct},
                                   {"skipped", result.skipped}});
        latencies.insert(latencies.end(), result.latenciesMs.begin(), result.latenciesMs.end());
    }
    line["latencyMs"] = Percentiles(std::move(latencies));
    return line.dump() + "\n";
}

}  // namespace benchmarks
