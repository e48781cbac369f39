// The network thread and the phones at its far end: they join, leave, refuse, send nonsense, hang up and
// vanish at random. Phones at an address that ends in a multiple of four are calm: their sockets stay open.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <queue>
#include <string>
#include <thread>
#include <vector>

#include "support/annotated_mutex.h"
#include "tests/stress/ActionCounts.h"
#include "tests/stress/Dice.h"
#include "tests/stress/StressSocket.h"

namespace stress {

class PhoneNetwork {
public:
    // One at a time; sockets are made for the one that exists.
    PhoneNetwork(std::uint64_t seed, ActionCounts& actionCounts);
    ~PhoneNetwork();
    PhoneNetwork(const PhoneNetwork&) = delete;
    PhoneNetwork& operator=(const PhoneNetwork&) = delete;
    static PhoneNetwork& Current();

    // [any-thread] From the sockets.
    void Dial(std::weak_ptr<StressSocket> socket, std::uint64_t connection, std::string url);
    void Transmit(std::weak_ptr<StressSocket> socket, std::uint64_t connection, std::string text);

    ActionCounts& Counts() { return counts; }

private:
    using Step = std::function<void(StressSocket& socket, std::uint64_t connection)>;
    struct Event {
        std::int64_t dueUs = 0;
        std::uint64_t sequence = 0;
        std::weak_ptr<StressSocket> socket;
        std::uint64_t connection = 0;
        Step step;
    };
    struct Later {
        bool operator()(const Event& left, const Event& right) const {
            return left.dueUs != right.dueUs ? left.dueUs > right.dueUs : left.sequence > right.sequence;
        }
    };

    void Run();
    void Post(std::weak_ptr<StressSocket> socket, std::uint64_t connection, std::int64_t delayUs, Step step);
    void DeliverLater(StressSocket& socket, std::uint64_t connection, std::string text);

    void Answer(StressSocket& socket, std::uint64_t connection, const std::string& url);
    void Hear(StressSocket& socket, std::uint64_t connection, const std::string& text);
    void ScheduleMood(StressSocket& socket, std::uint64_t connection);
    void HaveMood(StressSocket& socket, std::uint64_t connection);
    void HaveBadMood(StressSocket& socket, std::uint64_t connection);
    void Join(StressSocket& socket, std::uint64_t connection);

    ActionCounts& counts;
    Dice dice;  // of the network thread
    support::Mutex mutex;
    support::Condition changed;
    std::priority_queue<Event, std::vector<Event>, Later> events GUARDED_BY(mutex);
    std::uint64_t nextSequence GUARDED_BY(mutex) = 0;
    bool ending GUARDED_BY(mutex) = false;
    std::thread thread;
};

}  // namespace stress
