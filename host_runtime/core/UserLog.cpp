#include "host_runtime/core/UserLog.h"

#include <deque>
#include <utility>

#include "host/core/zUserLogHistory.h"
#include "host_runtime/core/MainThreadQueue.h"
#include "host_runtime/core/Printable.h"
#include "support/annotated_mutex.h"

namespace host_runtime {
namespace {

constexpr std::size_t kMostEntries = 500;
constexpr std::size_t kLongestText = 2000;  // bytes; foreign text has no limit of its own

struct Log {
    support::Mutex mutex;
    std::deque<UserLogEntry> entries GUARDED_BY(mutex);
    std::function<void(const UserLogEntry&)> listener GUARDED_BY(mutex);
};

Log& TheLog() {
    static auto& log = *new Log;  // never destroyed: other threads may still log while statics go
    return log;
}

void AddEntry(int level, std::string text) {
    UserLogEntry added{level, std::move(text), 1, MainThreadQueue::Default().NowUs()};
    std::function<void(const UserLogEntry&)> listener;
    Log& log = TheLog();
    {
        const support::MutexLock lock(log.mutex);
        listener = log.listener;
        if (!log.entries.empty() && log.entries.back().level == added.level &&
            log.entries.back().text == added.text) {
            ++log.entries.back().count;
            log.entries.back().lastTimeUs = added.lastTimeUs;
        } else {
            log.entries.push_back(added);
            if (log.entries.size() > kMostEntries) log.entries.pop_front();
        }
    }
    if (listener) listener(added);
}

}  // namespace

std::vector<UserLogEntry> UserLogEntries() {
    Log& log = TheLog();
    const support::MutexLock lock(log.mutex);
    return {log.entries.begin(), log.entries.end()};
}

void ClearUserLog() {
    Log& log = TheLog();
    const support::MutexLock lock(log.mutex);
    log.entries.clear();
}

void SetUserLogListener(std::function<void(const UserLogEntry& entry)> listener) {
    Log& log = TheLog();
    const support::MutexLock lock(log.mutex);
    log.listener.swap(listener);
}

}  // namespace host_runtime

zUserLogHistory* zUserLogHistory::Default() {
    static zUserLogHistory history;
    return &history;
}

zString zUserLogHistory::Convert(const char* text) {
    const std::string_view given = text != nullptr ? text : "";
    // Cut before the repair, which mends a character that was cut in two.
    std::string stored = host_runtime::Printable(given.substr(0, host_runtime::kLongestText),
                                                 host_runtime::LineFeeds::Replace);
    stored.erase(stored.find_last_not_of(' ') + 1);
    return zString(stored);
}

void zUserLogHistory::Add(int level, const zString& text) {
    host_runtime::AddEntry(level, text.ToStdString());
}
