// What a phone says: well-formed messages, and an answer that fits an offer, for scripts to bend.
#pragma once

#include <string>
#include <vector>

#include "tests/e2e/nonsense/NonsensePhone.h"

namespace nonsense {

inline constexpr const char* kPhoneIdentifier = "nonsense-phone";

// The texts of one negotiation.
struct Negotiation {
    std::string sessionGuid;
    std::string offer;  // its SDP

    bool IsOpen() const { return !offer.empty(); }
};

// Grants the WebSocket and waits for the host's join; the session's GUID, empty when it failed.
std::string AwaitJoin(Conversation& talk);
// As above, then joins and waits for the offer.
Negotiation AwaitOffer(Conversation& talk);

std::string PeerJoined(const std::string& sessionGuid, const std::string& identifier = kPhoneIdentifier);
std::string GotAnswer(const Negotiation& negotiation, const std::string& sdp,
                      const std::string& type = "answer");
std::string Candidate(const Negotiation& negotiation, const std::string& line, const std::string& mid,
                      int lineIndex);

// An answer with the sections of the offer, one codec each, and credentials that nobody is behind.
std::string PlausibleAnswer(const std::string& offer);

// `text` with every occurrence of `from` replaced.
std::string Replaced(std::string text, const std::string& from, const std::string& to);
// An SDP without the lines that begin so.
std::string WithoutLines(const std::string& sdp, const std::string& beginning);
// The SDP's sections: first the session's, then one per "m=" line.
std::vector<std::string> Sections(const std::string& sdp);

}  // namespace nonsense
