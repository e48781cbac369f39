// The events of one page: framed for its stream, and kept for a while, so that a stream that comes back goes
// on where the last one ended.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace petrel {

// One event of a text/event-stream. `data` is one line. Number 0 is written without "id".
std::string EventText(std::string_view name, std::string_view data, std::uint64_t number = 0);

class EventLog {
public:
    static constexpr std::size_t kMaximumBytes = std::size_t{1} << 19;

    // The framed event, which is now kept.
    const std::string& Add(std::string_view name, std::string_view data, int viewer);

    std::uint64_t Last() const { return last; }

    // Those after `number`, in order; nothing when some of them are no longer there, or it was never reached.
    std::optional<std::vector<std::string>> After(std::uint64_t number) const;

    void Forget(int viewer);  // it has gone: what was said about it matters no more
    void Clear();             // numbers go on

private:
    struct Entry {
        std::uint64_t number = 0;
        int viewer = 0;
        std::string text;
    };

    std::deque<Entry> entries;
    std::size_t bytes = 0;
    std::uint64_t last = 0;
    std::uint64_t completeFrom = 1;  // all events from here on are kept, or forgotten on purpose
};

}  // namespace petrel
