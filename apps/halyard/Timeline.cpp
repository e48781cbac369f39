#include "apps/halyard/Timeline.h"

#include <cerrno>
#include <cinttypes>
#include <system_error>

namespace halyard {

std::shared_ptr<Timeline> Timeline::Open(const std::filesystem::path& path, std::string& error) {
    std::FILE* opened = std::fopen(path.c_str(), "we");
    if (opened == nullptr) {
        error = path.string() + ": " + std::generic_category().message(errno);
        return nullptr;
    }
    // Whoever reads along sees whole lines.
    std::setvbuf(opened, nullptr, _IOLBF, BUFSIZ);
    return std::shared_ptr<Timeline>(new Timeline(opened));
}

Timeline::~Timeline() {
    const support::MutexLock lock(mutex);
    std::fclose(file);
}

void Timeline::Picture(std::int64_t atUs, const std::string& source, int width, int height,
                       std::optional<double> latencyMs) {
    const support::MutexLock lock(mutex);
    if (latencyMs) {
        std::fprintf(file, "%" PRId64 " %s picture %dx%d %.1f\n", atUs, source.c_str(), width, height,
                     *latencyMs);
    } else {
        std::fprintf(file, "%" PRId64 " %s picture %dx%d -\n", atUs, source.c_str(), width, height);
    }
}

void Timeline::Colour(std::int64_t atUs, const std::string& source) {
    const support::MutexLock lock(mutex);
    std::fprintf(file, "%" PRId64 " %s colour\n", atUs, source.c_str());
}

void Timeline::Sound(std::int64_t atUs, const std::string& source, bool silent) {
    const support::MutexLock lock(mutex);
    std::fprintf(file, "%" PRId64 " %s %s\n", atUs, source.c_str(), silent ? "silence" : "sound");
}

}  // namespace halyard
