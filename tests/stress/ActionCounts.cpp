#include "tests/stress/ActionCounts.h"

#include <fmt/format.h>

namespace stress {
namespace {

// In the order of the enumeration.
constexpr std::array kNames = {
    "source added",
    "source discovered",
    "source removed",
    "discovered source lost",
    "source activated again",
    "address changed",
    "session stopped",
    "session started",
    "renderers asked again",
    "renderer asked late",
    "tally of all changed",
    "tally of one changed",
    "statistics asked",
    "address compared",
    "listener added",
    "listener removed",
    "panel opened",
    "panel used",
    "panel closed",
    "service session started",
    "service session stopped",
    "service session destroyed",
    "logging switched",
    "factory replaced",
    "statistics while connected",
    "statistics while disconnected",
    "source withdrawn",
    "join answered",
    "reconnection began",
    "reconnection ended",
    "chat received",
    "picture muted",
    "sound muted",
    "sound enabled",
    "format asked",
    "settings applied",
    "received picture pulled",
    "black picture pulled",
    "audible block pulled",
    "silent block pulled",
    "socket opened",
    "socket failed",
    "socket failed for good",
    "socket lost",
    "socket closed by phone",
    "socket opened again",
    "kept alive",
    "phone joined",
    "phone joined again",
    "phone left",
    "phone refused join",
    "nonsense sent",
    "offer heard",
    "answer heard",
    "candidate heard",
    "tally heard",
    "offer made",
    "answer made",
    "candidate made",
    "state reported",
    "failure reported",
    "stream added",
    "stream removed",
    "statistics delivered",
    "picture delivered",
    "sound delivered",
    "log line written",
};

}  // namespace

std::vector<std::string> ActionCounts::Missing() const {
    std::vector<std::string> missing;
    for (std::size_t index = 0; index < kCount; ++index)
        if (counters[index].load() == 0) missing.emplace_back(kNames[index]);
    return missing;
}

std::string ActionCounts::Table() const {
    static_assert(kNames.size() == kCount);
    std::string table;
    for (std::size_t index = 0; index < kCount; ++index)
        table += fmt::format("{:>9}  {}\n", counters[index].load(), kNames[index]);
    return table;
}

}  // namespace stress
