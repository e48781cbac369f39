#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <utility>

#include "support/annotated_mutex.h"

namespace support {

// Texts on their way out, in order, with a bound on what may wait. Any thread pushes, one writes.
class SendQueue {
public:
    // First: nothing was waiting, so the writer has to be woken. Overflow: the text was dropped, and so is
    // everything after it.
    enum class Pushed { First, Behind, Overflow };

    explicit SendQueue(std::size_t maximum) : maximumBytes(maximum) {}

    Pushed Push(std::string text) {
        const MutexLock lock(mutex);
        const std::size_t cost = text.size() + kOverheadBytes;
        if (overflown || cost > maximumBytes - bytes) {
            overflown = true;
            return Pushed::Overflow;
        }
        bytes += cost;
        texts.push_back(std::move(text));
        return texts.size() == 1 ? Pushed::First : Pushed::Behind;
    }

    // The text stays in place while it is written and others are added; null when nothing waits.
    const std::string* Front() {
        const MutexLock lock(mutex);
        return texts.empty() ? nullptr : &texts.front();
    }

    void PopFront() {
        const MutexLock lock(mutex);
        if (texts.empty()) return;
        bytes -= texts.front().size() + kOverheadBytes;
        texts.pop_front();
    }

    bool HasOverflown() {
        const MutexLock lock(mutex);
        return overflown;
    }

private:
    static constexpr std::size_t kOverheadBytes = 64;  // so that empty texts are bounded, too

    const std::size_t maximumBytes;
    Mutex mutex;
    std::deque<std::string> texts GUARDED_BY(mutex);
    std::size_t bytes GUARDED_BY(mutex) = 0;
    bool overflown GUARDED_BY(mutex) = false;
};

}  // namespace support
