// How often the phone is told what has arrived.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <deque>

#include "support/annotated_mutex.h"
#include "tests/contract/webrtc/Call.h"

namespace contract {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// From the first to the last. Five per second are usual, 33 while packets are lost.
constexpr std::size_t kReports = 7;
constexpr milliseconds kShortestSpan(900);

// The latest reports since the beginning, and how long so many took at the most.
class Pace {
public:
    void Begin() {
        const support::MutexLock lock(mutex);
        begun = true;
    }
    void Add() {
        const support::MutexLock lock(mutex);
        if (!begun) return;
        latest.push_back(steady_clock::now());
        if (latest.size() < kReports) return;
        if (latest.size() > kReports) latest.pop_front();
        longest = std::max(longest, std::chrono::duration_cast<milliseconds>(latest.back() - latest.front()));
        changed.NotifyAll();
    }
    // Ends when that is long enough.
    milliseconds LongestSpan(steady_clock::time_point deadline) {
        const support::MutexLock lock(mutex);
        while (longest < kShortestSpan && changed.WaitUntil(mutex, deadline)) {
        }
        return longest;
    }

private:
    support::Mutex mutex;
    support::Condition changed;
    bool begun GUARDED_BY(mutex) = false;
    std::deque<steady_clock::time_point> latest GUARDED_BY(mutex);
    milliseconds longest GUARDED_BY(mutex){0};
};

// A busy machine delays packets until they are asked for, and reports are more frequent for two seconds then.
// The calmest stretch counts.
TEST(Reports, LeaveRarelyWhileNothingIsLost) {
    Pace pace;
    Call call;
    call.phone.onReport = [&pace] { pace.Add(); };
    call.Connect();
    ASSERT_TRUE(call.WaitForPictures(30));
    pace.Begin();
    const milliseconds span = pace.LongestSpan(steady_clock::now() + 3 * kPatience);
    EXPECT_GE(span, kShortestSpan) << kReports << " reports in " << span.count() << " ms at the calmest";
    EXPECT_TRUE(call.WaitForPictures(60));
}

}  // namespace
}  // namespace contract
