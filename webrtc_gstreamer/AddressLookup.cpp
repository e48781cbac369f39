#include <arpa/inet.h>
#include <netdb.h>

#include <array>
#include <chrono>
#include <map>
#include <memory>

#include "support/annotated_mutex.h"
#include "webrtc_gstreamer/IceServer.h"
#include "webrtc_gstreamer/LibraryThread.h"

namespace webrtc_gstreamer {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kKept = std::chrono::minutes(1);
constexpr auto kLongestWait = std::chrono::milliseconds(200);
constexpr std::size_t kMostHosts = 256;

struct Lookup {
    bool answered = false;
    std::string address;
    Clock::time_point begun = Clock::now();
};

// Outlives every static object, since a slow name server may answer after those.
struct Lookups {
    support::Mutex mutex;
    support::Condition changed;
    std::map<std::string, Lookup> byHost GUARDED_BY(mutex);
};

Lookups& TheLookups() {
    static Lookups& lookups = *new Lookups;
    return lookups;
}

bool IsAddress(const std::string& host) {
    std::array<unsigned char, sizeof(in6_addr)> ignored{};
    return inet_pton(AF_INET, host.c_str(), ignored.data()) == 1 ||
           inet_pton(AF_INET6, host.c_str(), ignored.data()) == 1;
}

std::string LookUp(const std::string& host) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(host.c_str(), nullptr, &hints, &found) != 0) return {};
    std::array<char, NI_MAXHOST> text{};
    const int status =
        getnameinfo(found->ai_addr, found->ai_addrlen, text.data(), text.size(), nullptr, 0, NI_NUMERICHOST);
    freeaddrinfo(found);
    return status == 0 ? std::string(text.data()) : std::string();
}

void Answer(const std::string& host, const std::string& address) {
    Lookups& lookups = TheLookups();
    const support::MutexLock lock(lookups.mutex);
    Lookup& lookup = lookups.byHost[host];
    lookup.answered = true;
    lookup.address = address;
    lookups.changed.NotifyAll();
}

}  // namespace

void PrepareAddress(const std::string& host) {
    if (IsAddress(host)) return;
    Lookups& lookups = TheLookups();
    {
        const support::MutexLock lock(lookups.mutex);
        const auto known = lookups.byHost.find(host);
        if (known != lookups.byHost.end()) {
            const bool fresh = Clock::now() - known->second.begun < kKept;
            if (!known->second.answered || fresh) return;
            known->second.begun = Clock::now();
        } else {
            if (lookups.byHost.size() >= kMostHosts) return;
            lookups.byHost.emplace(host, Lookup{});
        }
    }
    if (!StartLibraryThread("vo-lookup", [host] { Answer(host, LookUp(host)); })) Answer(host, {});
}

std::string AddressOf(const std::string& host) {
    if (IsAddress(host)) return host;
    Lookups& lookups = TheLookups();
    const support::MutexLock lock(lookups.mutex);
    const auto known = lookups.byHost.find(host);
    if (known == lookups.byHost.end()) return {};
    const auto deadline = std::min(known->second.begun + kLongestWait, Clock::now() + kLongestWait);
    while (!known->second.answered) {
        if (!lookups.changed.WaitUntil(lookups.mutex, deadline)) break;
    }
    return known->second.address;
}

}  // namespace webrtc_gstreamer
