// Who had which phone on air when its socket ended. A plug-in tells changes of the tally only, and dials
// again when a socket is lost: then it says nothing of a light that is still on. A host that was started anew
// says nothing of one that is off. The two are told apart by the fingerprint in their offers (RFC 8122),
// since each process has a key of its own.
#pragma once

#include <chrono>
#include <deque>
#include <string>
#include <string_view>

namespace petrel {

struct HostOfPhone {
    std::string phoneIdentifier;
    std::string sessionGuid;
    std::string fingerprint;

    friend bool operator==(const HostOfPhone&, const HostOfPhone&) = default;
};

// The first one of an offer, "sha-256 AA:BB..."; empty when there is none.
std::string FingerprintInOffer(std::string_view sdp);

class TallyMemory {
public:
    using Time = std::chrono::steady_clock::time_point;

    // A plug-in dials again much sooner. A source that was ended, and begins anew, is told its tally by its
    // host, but only if it is on air.
    static constexpr std::chrono::seconds kLifetime{30};
    static constexpr std::size_t kMost = 64;

    // It had the phone on air. One without a fingerprint could not be known again.
    void Keep(const HostOfPhone& host, Time now);
    // Whether this is one that had; it is forgotten then.
    bool Take(const HostOfPhone& host, Time now);
    // It has spoken for itself, whatever its fingerprint.
    void Forget(const std::string& phoneIdentifier, const std::string& sessionGuid);

private:
    struct Entry {
        HostOfPhone host;
        Time ends;
    };

    std::deque<Entry> entries;  // the oldest first
};

}  // namespace petrel
