#include "apps/petrel/serve/EventLog.h"

#include <algorithm>

namespace petrel {

std::string EventText(std::string_view name, std::string_view data, std::uint64_t number) {
    std::string text;
    if (number != 0) text += "id: " + std::to_string(number) + "\n";
    text += "event: ";
    text += name;
    text += "\ndata: ";
    text += data;
    text += "\n\n";
    return text;
}

const std::string& EventLog::Add(std::string_view name, std::string_view data, int viewer) {
    entries.push_back({++last, viewer, EventText(name, data, last)});
    bytes += entries.back().text.size();
    while (bytes > kMaximumBytes && entries.size() > 1) {
        completeFrom = entries.front().number + 1;
        bytes -= entries.front().text.size();
        entries.pop_front();
    }
    return entries.back().text;
}

std::optional<std::vector<std::string>> EventLog::After(std::uint64_t number) const {
    if (number > last || number + 1 < completeFrom) return std::nullopt;
    std::vector<std::string> texts;
    for (const Entry& entry : entries)
        if (entry.number > number) texts.push_back(entry.text);
    return texts;
}

void EventLog::Forget(int viewer) {
    std::erase_if(entries, [this, viewer](const Entry& entry) {
        if (entry.viewer != viewer) return false;
        bytes -= entry.text.size();
        return true;
    });
}

void EventLog::Clear() {
    entries.clear();
    bytes = 0;
    completeFrom = last + 1;
}

}  // namespace petrel
