#include "tests/e2e/host/HeldUp.h"

#include <algorithm>

namespace e2e {
namespace {

constexpr std::chrono::milliseconds kPeriod(5);

}  // namespace

HeldUp::HeldUp() : thread([this] { Run(); }) {}

HeldUp::~HeldUp() {
    {
        const support::MutexLock lock(mutex);
        stopping = true;
    }
    changed.NotifyAll();
    thread.join();
}

double HeldUp::LongestMs() const {
    const support::MutexLock lock(mutex);
    return std::chrono::duration<double, std::milli>(
               std::min<std::chrono::steady_clock::duration>(longest, kMost))
        .count();
}

void HeldUp::Run() {
    const support::MutexLock lock(mutex);
    while (!stopping) {
        const auto due = std::chrono::steady_clock::now() + kPeriod;
        while (!stopping && changed.WaitUntil(mutex, due)) {
        }
        longest = std::max(longest, std::chrono::steady_clock::now() - due);
    }
}

}  // namespace e2e
