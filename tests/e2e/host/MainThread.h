// The thread of the test is the main thread; its jobs run while the test waits.
#pragma once

#include <chrono>
#include <functional>

namespace e2e {

// Runs main-thread jobs until the predicate holds, which is asked on this thread; false when the time is
// over first.
bool RunMainThreadUntil(const std::function<bool()>& predicate, std::chrono::milliseconds limit);

}  // namespace e2e
