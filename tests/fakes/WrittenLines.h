// What happened, one line each, written on any thread; a test waits for so many of them.
#pragma once

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "support/annotated_mutex.h"

namespace tests {

class WrittenLines {
public:
    void Write(std::string line) {
        const support::MutexLock lock(mutex);
        lines.push_back(std::move(line));
        changed.NotifyAll();
    }
    std::vector<std::string> Lines() const {
        const support::MutexLock lock(mutex);
        return lines;
    }
    // Waits, with a deadline, until there are so many; returns what there is.
    std::vector<std::string> WaitForLines(std::size_t count) const {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(8);
        const support::MutexLock lock(mutex);
        while (lines.size() < count) {
            if (!changed.WaitUntil(mutex, deadline)) break;
        }
        return lines;
    }

private:
    mutable support::Mutex mutex;
    mutable support::Condition changed;
    std::vector<std::string> lines GUARDED_BY(mutex);
};

}  // namespace tests
