#include "tests/e2e/nonsense/TraceLog.h"

#include <algorithm>
#include <utility>

#include "host_runtime/core/TraceOutput.h"

namespace nonsense {

namespace {

constexpr std::size_t kLongestShown = 400;

}  // namespace

TraceLog::TraceLog() {
    host_runtime::SetTraceSink([this](zFourCC, const std::string& text) { Note(text); });
}

TraceLog::~TraceLog() {
    host_runtime::SetTraceSink({});
}

void TraceLog::Note(std::string line) {
    const support::MutexLock lock(mutex);
    lines.push_back(std::move(line));
    changed.NotifyAll();
}

std::size_t TraceLog::CountLocked(const std::vector<std::string>& parts) const {
    const auto containsOne = [&parts](const std::string& line) {
        return std::any_of(parts.begin(), parts.end(),
                           [&line](const std::string& part) { return line.find(part) != std::string::npos; });
    };
    return static_cast<std::size_t>(std::count_if(lines.begin(), lines.end(), containsOne));
}

std::size_t TraceLog::Count(const std::string& part) const {
    return CountOfAny({part});
}

std::size_t TraceLog::CountOfAny(const std::vector<std::string>& parts) const {
    const support::MutexLock lock(mutex);
    return CountLocked(parts);
}

bool TraceLog::WaitForMore(const std::vector<std::string>& parts, std::size_t before,
                           std::chrono::seconds limit) const {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    const support::MutexLock lock(mutex);
    while (CountLocked(parts) <= before) {
        if (!changed.WaitUntil(mutex, deadline)) return CountLocked(parts) > before;
    }
    return true;
}

std::string TraceLog::Text() const {
    const support::MutexLock lock(mutex);
    std::string text;
    for (const std::string& line : lines) {
        text += line.substr(0, kLongestShown);
        if (!text.ends_with('\n')) text += '\n';
    }
    return text;
}

}  // namespace nonsense
