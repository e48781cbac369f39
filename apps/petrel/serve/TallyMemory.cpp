#include "apps/petrel/serve/TallyMemory.h"

#include <algorithm>

namespace petrel {
namespace {

constexpr std::string_view kFingerprint = "a=fingerprint:";
constexpr std::size_t kLongestText = 256;

}  // namespace

std::string FingerprintInOffer(std::string_view sdp) {
    while (!sdp.empty()) {
        const std::size_t end = std::min(sdp.find('\n'), sdp.size());
        std::string_view line = sdp.substr(0, end);
        sdp.remove_prefix(std::min(end + 1, sdp.size()));
        if (!line.starts_with(kFingerprint)) continue;
        line.remove_prefix(kFingerprint.size());
        if (line.ends_with('\r')) line.remove_suffix(1);
        return std::string(line);
    }
    return {};
}

void TallyMemory::Keep(const HostOfPhone& host, Time now) {
    Forget(host.phoneIdentifier, host.sessionGuid);
    std::erase_if(entries, [now](const Entry& entry) { return entry.ends <= now; });
    if (host.fingerprint.empty() || host.fingerprint.size() > kLongestText ||
        host.sessionGuid.size() > kLongestText)
        return;
    if (entries.size() >= kMost) entries.pop_front();
    entries.push_back({host, now + kLifetime});
}

bool TallyMemory::Take(const HostOfPhone& host, Time now) {
    const auto found =
        std::find_if(entries.begin(), entries.end(), [&](const Entry& entry) { return entry.host == host; });
    if (found == entries.end()) return false;
    const bool counts = now < found->ends;
    entries.erase(found);
    return counts;
}

void TallyMemory::Forget(const std::string& phoneIdentifier, const std::string& sessionGuid) {
    std::erase_if(entries, [&](const Entry& entry) {
        return entry.host.phoneIdentifier == phoneIdentifier && entry.host.sessionGuid == sessionGuid;
    });
}

}  // namespace petrel
