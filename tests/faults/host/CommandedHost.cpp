#include "tests/faults/host/CommandedHost.h"

#include <malloc.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <sstream>

#include "host_runtime/network/NetworkSettings.h"

namespace faults {
namespace {

constexpr const char* kDone = R"({"done":true})";
constexpr const char* kNotDone = R"({"done":false})";

}  // namespace

std::string CommandedHost::Obey(const std::string& line) {
    std::istringstream words(line);
    std::string word;
    std::string address;
    words >> word >> address;
    const auto found = sources.find(address);
    if (word == "add" && found == sources.end()) {
        const auto pulled = harness.Add(address);
        if (!pulled.source) return kNotDone;
        sources.emplace(address, pulled);
        return kDone;
    }
    if (word == "trim") {
        malloc_trim(0);
        return kDone;
    }
    if (word == "limit") {
        auto settings = host_runtime::CurrentNetworkSettings();
        settings.messageLimit = std::chrono::seconds(std::stoi(address));
        host_runtime::SetNetworkSettings(settings);
        return kDone;
    }
    if (word == "quit") {
        ended = true;
        return kDone;
    }
    if (found == sources.end()) return kNotDone;
    if (word == "remove") {
        harness.Remove(found->second);
        sources.erase(found);
        return kDone;
    }
    if (word == "connect") {
        harness.Host().Sources().SettingsAccepted(found->second.source->Identifier());
        return kDone;
    }
    if (word != "show") return kNotDone;
    const auto counts = found->second.pattern->Now();
    return nlohmann::json({{"done", true},
                           {"newPictures", counts.newPictures},
                           {"stampedPictures", counts.stampedPictures},
                           {"distinctFrames", counts.distinctFrames},
                           {"beeps", counts.beeps}})
        .dump();
}

}  // namespace faults
