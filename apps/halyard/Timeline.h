// Writes down when each new picture was pulled, and when a source fell silent or lost its picture: a line
// each, as "AT_US SOURCE picture WIDTHxHEIGHT LATENCY_MS", "AT_US SOURCE colour", "AT_US SOURCE sound" or
// "AT_US SOURCE silence". The moments are the steady clock's, in microseconds; a latency that is not known is
// "-".
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "support/annotated_mutex.h"

namespace halyard {

class Timeline {
public:
    // Null when the file cannot be written; then `error` says why.
    static std::shared_ptr<Timeline> Open(const std::filesystem::path& path, std::string& error);
    ~Timeline();
    Timeline(const Timeline&) = delete;
    Timeline& operator=(const Timeline&) = delete;

    // [any-thread]
    void Picture(std::int64_t atUs, const std::string& source, int width, int height,
                 std::optional<double> latencyMs);
    void Colour(std::int64_t atUs, const std::string& source);  // a plain colour instead of a picture
    void Sound(std::int64_t atUs, const std::string& source, bool silent);

private:
    explicit Timeline(std::FILE* opened) : file(opened) {}

    support::Mutex mutex;
    std::FILE* const file GUARDED_BY(mutex);
};

}  // namespace halyard
