#include "host_runtime/discovery/PhoneDirectory.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "host/core/zTraceManager.h"
#include "host/core/zUserLogHistory.h"
#include "host_runtime/core/Printable.h"

namespace host_runtime {
namespace {

DiscoveredPhone PhoneOf(const ServiceKey& key, const ServiceDetails& details) {
    // The plug-in takes no IPv6 literal, so a phone without IPv4 is dialled by its name.
    const std::string& host = details.ipv4Address.empty() ? details.hostName : details.ipv4Address;
    return {details.peerIdentifier, host, std::to_string(details.port), key.name};
}

void TellOperator(int level, const std::string& text) {
    zUserLogHistory::Default()->Add(level, zUserLogHistory::Convert(text.c_str()));
}

}  // namespace

PhoneDirectory::PhoneDirectory(std::weak_ptr<PhoneListener> toTell) : listener(std::move(toTell)) {}

void PhoneDirectory::BrowsingBegan() {
    if (std::exchange(failed, false))
        TellOperator(zUserLogHistory::kLevelSuccess, "Phones in the network are found again.");
    services.clear();
    for (const auto& [identifier, phone] : std::exchange(reported, {}))
        ReportLost(identifier);
}

void PhoneDirectory::BrowsingFailed(const std::string& reason) {
    if (std::exchange(failed, true)) return;
    TellOperator(zUserLogHistory::kLevelTrouble,
                 "Phones in the network are not found for now, because the Avahi daemon cannot be used (" +
                     reason + ").");
}

void PhoneDirectory::ServiceSeen(const ServiceKey& key, const ServiceDetails& details) {
    if (details.peerIdentifier.empty()) {
        zTraceManager::Default()->TraceMessage(FourCC("note"),
                                               "halyard: the service '%s' on '%s' names no phone\n",
                                               Printable(key.name, LineFeeds::Replace).c_str(),
                                               Printable(details.hostName, LineFeeds::Replace).c_str());
        ServiceGone(key);
        return;
    }
    const std::string before = std::exchange(services[key], details).peerIdentifier;
    if (!before.empty() && before != details.peerIdentifier) Review(before);
    Review(details.peerIdentifier);
}

void PhoneDirectory::ServiceGone(const ServiceKey& key) {
    const auto found = services.find(key);
    if (found == services.end()) return;
    const std::string peerIdentifier = found->second.peerIdentifier;
    services.erase(found);
    Review(peerIdentifier);
}

void PhoneDirectory::Review(const std::string& peerIdentifier) {
    std::vector<DiscoveredPhone> withIpv4;
    std::vector<DiscoveredPhone> byName;
    for (const auto& [key, details] : services) {
        if (details.peerIdentifier != peerIdentifier) continue;
        (details.ipv4Address.empty() ? byName : withIpv4).push_back(PhoneOf(key, details));
    }
    const std::vector<DiscoveredPhone>& usable = withIpv4.empty() ? byName : withIpv4;
    const auto known = reported.find(peerIdentifier);
    if (usable.empty()) {
        if (known == reported.end()) return;
        reported.erase(known);
        ReportLost(peerIdentifier);
        return;
    }
    // As long as one record says what was reported, the others, which may lead over another interface,
    // change nothing: each change of the address interrupts the picture.
    if (known != reported.end() && std::find(usable.begin(), usable.end(), known->second) != usable.end())
        return;
    reported[peerIdentifier] = usable.front();
    Report(usable.front());
}

void PhoneDirectory::Report(const DiscoveredPhone& phone) {
    if (const auto told = listener.lock()) told->PhoneDiscovered(phone);
}

void PhoneDirectory::ReportLost(const std::string& peerIdentifier) {
    if (const auto told = listener.lock()) told->PhoneLost(peerIdentifier);
}

}  // namespace host_runtime
