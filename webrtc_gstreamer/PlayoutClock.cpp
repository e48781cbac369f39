#include "webrtc_gstreamer/PlayoutClock.h"

#include <chrono>
#include <vector>

#include "support/annotated_mutex.h"
#include "webrtc_gstreamer/LibraryThread.h"
#include "webrtc_gstreamer/PlayoutSchedule.h"

namespace webrtc_gstreamer {
namespace {

using Clock = std::chrono::steady_clock;

}  // namespace

struct PlayoutClock::State {
    support::Mutex mutex;
    support::Condition changed;
    std::vector<std::weak_ptr<Player>> players GUARDED_BY(mutex);
    bool running GUARDED_BY(mutex) = false;
    bool ended GUARDED_BY(mutex) = false;

    void Run();
    // The players to call; false when the clock has ended.
    bool WaitForTick(PlayoutSchedule& schedule, std::vector<std::shared_ptr<Player>>& toCall);
};

bool PlayoutClock::State::WaitForTick(PlayoutSchedule& schedule,
                                      std::vector<std::shared_ptr<Player>>& toCall) {
    const support::MutexLock lock(mutex);
    std::erase_if(players, [](const auto& player) { return player.expired(); });
    if (players.empty()) {
        while (players.empty() && !ended)
            changed.Wait(mutex);
        schedule.Begin(Clock::now());
    }
    while (!ended && Clock::now() < schedule.Due())
        changed.WaitUntil(mutex, schedule.Due());
    if (ended) return false;
    schedule.Play(Clock::now());
    for (const auto& player : players) {
        if (auto alive = player.lock()) toCall.push_back(std::move(alive));
    }
    return true;
}

void PlayoutClock::State::Run() {
    // A block that comes some tens of milliseconds late may cost a consumer a resynchronisation.
    RunWhenDue();
    std::vector<std::shared_ptr<Player>> toCall;
    PlayoutSchedule schedule;
    schedule.Begin(Clock::now());
    while (WaitForTick(schedule, toCall)) {
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
