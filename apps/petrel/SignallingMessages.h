// The texts that a phone and its client exchange: one JSON object each.
#pragma once

#include <string>
#include <string_view>
#include <variant>

namespace petrel {

struct JoinMaster {
    std::string sessionGuid;
    std::string userName;  // of the client; may be empty
};

struct MasterMadeOffer {
    std::string peersIdentifier;
    std::string sdp;
};

// The answer to an offer of the phone's own.
struct CreatedAnswer {
    std::string peersIdentifier;
};

struct RemoteCandidate {
    std::string peersIdentifier;
    std::string candidate;  // "candidate:..."; empty at the end of the candidates
    std::string mid;
    int lineIndex = 0;
};

struct TallyStateChanged {
    std::string peersIdentifier;
    bool onAir = false;
};

// Well-formed, but nothing a phone acts on.
struct UnknownMessage {
    std::string action;
};

struct MalformedMessage {
    std::string problem;  // one sentence
};

using IncomingMessage = std::variant<JoinMaster, MasterMadeOffer, CreatedAnswer, RemoteCandidate,
                                     TallyStateChanged, UnknownMessage, MalformedMessage>;

IncomingMessage ReadMessage(std::string_view text);

std::string PeerJoinedMessage(const std::string& userName, const std::string& peersIdentifier,
                              const std::string& sessionGuid);
std::string GotAnswerMessage(const std::string& peersIdentifier, const std::string& sessionGuid,
                             const std::string& sdp);
// Ends the client's waiting for ICE servers, of which there are none: in one network, none are needed.
std::string JoinAcceptedMessage();
// The line index goes out as a number, although it comes in as a text.
std::string IceMessage(const std::string& peersIdentifier, const std::string& sessionGuid,
                       const std::string& candidate, const std::string& mid, int lineIndex);

}  // namespace petrel
