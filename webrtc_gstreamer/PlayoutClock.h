#pragma once

#include <memory>

namespace webrtc_gstreamer {

// Calls its players every 10 ms by the steady clock, with absolute deadlines: late ones are made up for, so
// that the number of calls never drifts. Needs no sound card.
class PlayoutClock {
public:
    class Player {
    public:
        virtual ~Player() = default;
        virtual void PlayBlock() = 0;  // [library-thread] 10 ms of sound are due
    };

    PlayoutClock();
    ~PlayoutClock();  // [any-thread] Does not wait for a running call.
    PlayoutClock(const PlayoutClock&) = delete;
    PlayoutClock& operator=(const PlayoutClock&) = delete;

    // [any-thread] Starts the thread with the first player. A player leaves by being released.
    void Add(std::weak_ptr<Player> player);

private:
    struct State;
    std::shared_ptr<State> state;
};

}  // namespace webrtc_gstreamer
