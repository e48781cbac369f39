#include "webrtc_gstreamer/PlayoutClock.h"

#include <chrono>
#include <vector>

#include "support/annotated_mutex.h"
#include "webrtc_gstreamer/LibraryThread.h"

namespace webrtc_gstreamer {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kPeriod = std::chrono::milliseconds(10);
// After a longer stop (a suspended machine) the missed blocks are not made up for.
constexpr auto kLongestCatchUp = std::chrono::seconds(1);

}  // namespace

struct PlayoutClock::State {
    support::Mutex mutex;
    support::Condition changed;
    std::vector<std::weak_ptr<Player>> players GUARDED_BY(mutex);
    bool running GUARDED_BY(mutex) = false;
    bool ended GUARDED_BY(mutex) = false;

    void Run();
    // The players to call; false when the clock has ended.
    bool WaitForTick(Clock::time_point& due, std::vector<std::shared_ptr<Player>>& toCall);
};

bool PlayoutClock::State::WaitForTick(Clock::time_point& due, std::vector<std::shared_ptr<Player>>& toCall) {
    const support::MutexLock lock(mutex);
    std::erase_if(players, [](const auto& player) { return player.expired(); });
    if (players.empty()) {
        while (players.empty() && !ended)
            changed.Wait(mutex);
        due = Clock::now() + kPeriod;
    }
    while (!ended && Clock::now() < due)
        changed.WaitUntil(mutex, due);
    if (ended) return false;
    const auto now = Clock::now();
    due = now - due > kLongestCatchUp ? now + kPeriod : due + kPeriod;
    for (const auto& player : players) {
        if (auto alive = player.lock()) toCall.push_back(std::move(alive));
    }
    return true;
}

void PlayoutClock::State::Run() {
    std::vector<std::shared_ptr<Player>> toCall;
    Clock::time_point due = Clock::now() + kPeriod;
    while (WaitForTick(due, toCall)) {
        for (const auto& player : toCall)
            player->PlayBlock();
        toCall.clear();
    }
}

PlayoutClock::PlayoutClock() : state(std::make_shared<State>()) {}

PlayoutClock::~PlayoutClock() {
    const support::MutexLock lock(state->mutex);
    state->ended = true;
    state->changed.NotifyAll();
}

void PlayoutClock::Add(std::weak_ptr<Player> player) {
    const support::MutexLock lock(state->mutex);
    state->players.push_back(std::move(player));
    state->changed.NotifyAll();
    if (!state->running) state->running = StartLibraryThread("vo-playout", [own = state] { own->Run(); });
}

}  // namespace webrtc_gstreamer
