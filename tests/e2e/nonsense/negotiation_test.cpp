// A phone that breaks off in the middle, or answers with descriptions and candidates that do not fit.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "tests/e2e/nonsense/NonsenseTest.h"

namespace nonsense {
namespace {

constexpr const char* kFailure = "nxWebRtcConnection::OnFailure - ";
constexpr const char* kSettled = " Stable\n";
constexpr const char* kTakenAsOffer = " HaveRemoteOffer\n";
constexpr std::chrono::seconds kOutcomeLimit{10};

struct BadDescription {
    const char* name;
    std::string sdp;
};

std::string SwappedSections(const std::string& sdp) {
    std::vector<std::string> sections = Sections(sdp);
    if (sections.size() > 2) std::swap(sections[1], sections[2]);
    std::string swapped;
    for (const std::string& section : sections)
        swapped += section;
    return swapped;
}

// Descriptions that cannot be the answer to `offer`.
std::vector<BadDescription> DescriptionsThatDoNotFit(const std::string& offer) {
    const std::string good = PlausibleAnswer(offer);
    const std::vector<std::string> sections = Sections(good);
    return {
        {"nothing", ""},
        {"no description", "picture, please"},
        {"a lone version", "v=0\r\n"},
        {"no sections", sections[0]},
        {"a section too few", sections[0] + sections[1]},
        {"a section too many", good + sections[1]},
        {"swapped sections", SwappedSections(good)},
        {"no credentials", WithoutLines(good, "a=ice-")},
        {"no fingerprint", WithoutLines(good, "a=fingerprint:")},
        {"a broken fingerprint", Replaced(good, "sha-256 00:11", "sha-256 no:pe")},
        {"unknown payload types", Replaced(good, "UDP/TLS/RTP/SAVPF ", "UDP/TLS/RTP/SAVPF 1")},
        {"a payload type that is no number", Replaced(good, "UDP/TLS/RTP/SAVPF ", "UDP/TLS/RTP/SAVPF x")},
        {"another protocol", Replaced(good, "UDP/TLS/RTP/SAVPF", "RTP/AVP")},
        {"bytes", std::string("\x01\x02\x03\x7F")},
        {"one endless line", "v=0\r\ns=" + std::string(400'000, 'x') + "\r\n"},
        {"a cut", good.substr(0, good.size() / 2)},
    };
}

// Descriptions that may be taken or refused, as long as nothing breaks.
std::vector<BadDescription> DescriptionsThatLeadNowhere(const std::string& offer) {
    const std::string good = PlausibleAnswer(offer);
    return {
        {"nobody behind it", good},
        {"both would wait", Replaced(good, "a=setup:active", "a=setup:passive")},
        {"undecided", Replaced(good, "a=setup:active", "a=setup:actpass")},
        {"receiving only", Replaced(good, "a=sendonly", "a=recvonly")},
        {"inactive", Replaced(good, "a=sendonly", "a=inactive")},
        {"rejected sections", Replaced(Replaced(good, "m=audio 9", "m=audio 0"), "m=video 9", "m=video 0")},
        {"line feeds only", Replaced(good, "\r\n", "\n")},
        {"no bundle", WithoutLines(good, "a=group:")},
        {"wild numbers", Replaced(good, "/90000", "/4294967297")},
        {"the offer itself", offer},
    };
}

class NonsenseNegotiation : public NonsenseTest {
protected:
    using Outcome = std::vector<std::string>;  // lines of the trace, of which one must come

    // False when none of them followed in time.
    bool SayAndAwait(Conversation& talk, const std::string& text, const Outcome& outcome) {
        const std::size_t before = trace.CountOfAny(outcome);
        talk.SendText(text);
        return trace.WaitForMore(outcome, before, kOutcomeLimit);
    }

    // Joins anew for each description and answers with it.
    NonsensePhone::Script AnsweringWith(std::vector<BadDescription> (*makeDescriptions)(const std::string&),
                                        Outcome outcome) {
        return [this, makeDescriptions, outcome = std::move(outcome)](Conversation& talk) {
            const Negotiation negotiation = AwaitOffer(talk);
            if (!negotiation.IsOpen()) return;
            for (const BadDescription& bad : makeDescriptions(negotiation.offer)) {
                trace.Note(std::string("answering with ") + bad.name);
                if (!SayAndAwait(talk, GotAnswer(negotiation, bad.sdp), outcome)) return;
                talk.SendText(PeerJoined(negotiation.sessionGuid));
                if (talk.AwaitText("masterMadeOffer").empty()) return;
            }
            milestone.Reach();
            talk.StayUntilHostLeaves();
        };
    }
};

TEST_F(NonsenseNegotiation, AnswersThatDoNotFitAreRefused) {
    PlayUntil(AnsweringWith(DescriptionsThatDoNotFit, {kFailure}), [] { return true; });
}

TEST_F(NonsenseNegotiation, AnswersThatLeadNowhereBreakNothing) {
    PlayUntil(AnsweringWith(DescriptionsThatLeadNowhere, {kFailure, kSettled}), [] { return true; });
}

TEST_F(NonsenseNegotiation, AnswersOfTheWrongKindBreakNothing) {
    const auto script = [this](Conversation& talk) {
        const Negotiation negotiation = AwaitOffer(talk);
        if (!negotiation.IsOpen()) return;
        const std::string good = PlausibleAnswer(negotiation.offer);
        for (const char* type : {"", "offer", "rollback", "Answer", "answer ", "%n"}) {
            trace.Note(std::string("answering of the type ") + type);
            if (!SayAndAwait(talk, GotAnswer(negotiation, good, type), {kFailure, kTakenAsOffer})) return;
        }
        talk.SendText(PeerJoined(negotiation.sessionGuid));
        if (!talk.AwaitText("masterMadeOffer").empty()) milestone.Reach();
        talk.StayUntilHostLeaves();
    };
    PlayUntil(script, [] { return true; });
}

TEST_F(NonsenseNegotiation, AnAnswerBeforeTheOfferIsRefused) {
    const auto script = [this](Conversation& talk) {
        Negotiation negotiation;
        negotiation.sessionGuid = AwaitJoin(talk);
        if (negotiation.sessionGuid.empty()) return;
        talk.SendText(PeerJoined(negotiation.sessionGuid));
        for (int turn = 0; turn < 5; ++turn)
            talk.SendText(GotAnswer(negotiation, "v=0\r\n"));
        if (!talk.AwaitText("masterMadeOffer").empty()) milestone.Reach();
        talk.StayUntilHostLeaves();
    };
    PlayUntil(script, [this] { return trace.Contains(kFailure); });
}

TEST_F(NonsenseNegotiation, AnswersInARowBreakNothing) {
    const auto script = [this](Conversation& talk) {
        const Negotiation negotiation = AwaitOffer(talk);
        if (!negotiation.IsOpen()) return;
        const std::string good = PlausibleAnswer(negotiation.offer);
        for (int turn = 0; turn < 10; ++turn)
            talk.SendText(GotAnswer(negotiation, good));
        milestone.Reach();
        talk.StayUntilHostLeaves();
    };
    PlayUntil(script, [this] { return trace.Contains(kFailure); });
}

TEST_F(NonsenseNegotiation, OffersFromThePhoneThatDoNotFitAreRefused) {
    const auto script = [this](Conversation& talk) {
        const Negotiation negotiation = AwaitOffer(talk);
        if (!negotiation.IsOpen()) return;
        for (const char* sdp : {"", "v=0\r\n", "nonsense", "v=0\r\nm=video 9 UDP/TLS/RTP/SAVPF\r\n"}) {
            const std::string offer =
                Replaced(GotAnswer(negotiation, sdp, "offer"), "gotAnswer", "createAnswer");
            if (!SayAndAwait(talk, offer, {kFailure})) return;
        }
        talk.SendText(PeerJoined(negotiation.sessionGuid));
        if (!talk.AwaitText("masterMadeOffer").empty()) milestone.Reach();
        talk.StayUntilHostLeaves();
    };
    PlayUntil(script, [this] { return trace.Contains(kFailure); });
}

TEST_F(NonsenseNegotiation, CandidatesThatDoNotFitBreakNothing) {
    const auto script = [this](Conversation& talk) {
        const Negotiation negotiation = AwaitOffer(talk);
        if (!negotiation.IsOpen()) return;
        const std::string fine = "candidate:1 1 udp 2122260223 127.0.0.1 9 typ host";
        const auto sayAll = [&talk, &negotiation, &fine] {
            for (const char* line :
                 {"", "candidate:", "candidate:1 1 udp", "nonsense", "a=candidate:\r\na=evil:1",
                  "candidate:1 1 udp 99999999999999999999 1.2.3.4.5 99999 typ host",
                  "candidate:1 1 tcp 1 ::1 9 typ host tcptype sideways",
                  "candidate:1 1 udp 1 nosuchname.local 9 typ host"}) {
                talk.SendText(Candidate(negotiation, line, "0", 0));
            }
            for (const int lineIndex : {-1, 2, 999, 2147483647}) {
                talk.SendText(Candidate(negotiation, fine, "nosuchmid", lineIndex));
            }
            talk.SendText(Candidate(negotiation, fine + std::string(200'000, ' '), "0", 0));
        };
        sayAll();  // before the remote description stands
        talk.SendText(GotAnswer(negotiation, PlausibleAnswer(negotiation.offer)));
        sayAll();  // and after
        if (!SayAndAwait(talk, Candidate(negotiation, "candidate:", "0", 0), {kFailure})) return;
        talk.SendText(PeerJoined(negotiation.sessionGuid));
        if (!talk.AwaitText("masterMadeOffer").empty()) milestone.Reach();
        talk.StayUntilHostLeaves();
    };
    PlayUntil(script, [this] { return trace.Contains(kFailure); });
}

TEST_F(NonsenseNegotiation, APhoneThatLeavesAfterTheJoinReturns) {
    const auto script = [this](Conversation& talk) {
        const std::string guid = AwaitJoin(talk);
        talk.SendText(PeerJoined(guid));
        milestone.Reach();
    };
    PlayUntil(
        script, [this] { return trace.Contains("nxWebRtcSession::ClosedHandler() - error:"); },
        Return::BySweep);
}

TEST_F(NonsenseNegotiation, APhoneThatLeavesAfterTheOfferReturns) {
    const auto script = [this](Conversation& talk) {
        if (AwaitOffer(talk).IsOpen()) milestone.Reach();
    };
    PlayUntil(
        script, [this] { return trace.Contains("nxWebRtcSession::ClosedHandler() - error:"); },
        Return::BySweep);
}

TEST_F(NonsenseNegotiation, APhoneThatLeavesAfterItsAnswerReturns) {
    const auto script = [this](Conversation& talk) {
        const Negotiation negotiation = AwaitOffer(talk);
        if (!negotiation.IsOpen()) return;
        talk.SendText(GotAnswer(negotiation, PlausibleAnswer(negotiation.offer)));
        talk.SendFrame(Conversation::kClose, std::string("\x03\xE8", 2));
        milestone.Reach();
    };
    PlayUntil(
        script, [this] { return trace.Contains("nxWebRtcSession::ClosedHandler() - error:"); },
        Return::BySweep);
}

TEST_F(NonsenseNegotiation, APhoneThatDisconnectsItselfReturns) {
    const auto script = [this](Conversation& talk) {
        const Negotiation negotiation = AwaitOffer(talk);
        if (!negotiation.IsOpen()) return;
        const nlohmann::json leaving = {{"action", "peerDisconnected"},
                                        {"peersIdentifier", kPhoneIdentifier}};
        for (int turn = 0; turn < 3; ++turn)
            talk.SendText(leaving.dump());
        talk.SendText(PeerJoined(negotiation.sessionGuid));
        if (!talk.AwaitText("masterMadeOffer").empty()) milestone.Reach();
        talk.StayUntilHostLeaves();
    };
    PlayUntil(script, [this] { return trace.Contains("'peerDisconnected' peerId:nonsense-phone\n"); });
}

}  // namespace
}  // namespace nonsense
