// The host trace while it lives, for tests to look into.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "support/annotated_mutex.h"

namespace nonsense {

class TraceLog {
public:
    TraceLog();
    ~TraceLog();
    TraceLog(const TraceLog&) = delete;
    TraceLog& operator=(const TraceLog&) = delete;

    // [any-thread] A line of the test's own, so that the log tells what belongs to what.
    void Note(std::string line);
    std::size_t Count(const std::string& part) const;  // lines that contain it
    bool Contains(const std::string& part) const { return Count(part) > 0; }
    // Lines that contain any of the parts.
    std::size_t CountOfAny(const std::vector<std::string>& parts) const;
    // Waits until there are more than `before` of them; false when the time is over.
    bool WaitForMore(const std::vector<std::string>& parts, std::size_t before,
                     std::chrono::seconds limit) const;
    std::string Text() const;

private:
    std::size_t CountLocked(const std::vector<std::string>& parts) const REQUIRES(mutex);

    mutable support::Mutex mutex;
    mutable support::Condition changed;
    std::vector<std::string> lines GUARDED_BY(mutex);
};

}  // namespace nonsense
