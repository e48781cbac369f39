// The entries behind zUserLogHistory, for whoever shows them.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace host_runtime {

struct UserLogEntry {
    int level = 0;
    std::string text;
    std::uint64_t count = 1;      // equal consecutive entries are merged
    std::int64_t lastTimeUs = 0;  // of the main-thread queue's clock
};

std::vector<UserLogEntry> UserLogEntries();  // [any-thread] oldest first
void ClearUserLog();                         // [any-thread]

// [any-thread] Told of each added entry, merged or not, as it was added.
void SetUserLogListener(std::function<void(const UserLogEntry& entry)> listener);

}  // namespace host_runtime
