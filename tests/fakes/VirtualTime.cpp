#include "tests/fakes/VirtualTime.h"

#include <algorithm>
#include <optional>
#include <stdexcept>

#include "host_runtime/core/MainThreadQueue.h"

namespace fakes {
namespace {

constexpr int kMostRoundsAtOneTime = 10'000;

}  // namespace

VirtualTime::VirtualTime() : nowUs(std::make_shared<std::atomic<std::int64_t>>(kStartUs)) {
    host_runtime::MainThreadQueue::Default().UseClock([now = nowUs] { return now->load(); });
}

VirtualTime::~VirtualTime() {
    auto& queue = host_runtime::MainThreadQueue::Default();
    queue.ShutDown();
    queue.UseClock({});
}

void VirtualTime::AdvanceBy(std::int64_t durationUs) {
    auto& queue = host_runtime::MainThreadQueue::Default();
    const std::int64_t endUs = NowUs() + durationUs;
    int roundsAtThisTime = 0;
    for (auto dueUs = queue.NextDueUs(); dueUs && *dueUs <= endUs; dueUs = queue.NextDueUs()) {
        const std::int64_t nextUs = std::max(NowUs(), *dueUs);
        roundsAtThisTime = nextUs == NowUs() ? roundsAtThisTime + 1 : 0;
        if (roundsAtThisTime > kMostRoundsAtOneTime) throw std::runtime_error("jobs post jobs without end");
        nowUs->store(nextUs);
        queue.RunDue();
    }
    nowUs->store(endUs);
}

}  // namespace fakes
