#include "apps/petrel/PhoneClient.h"

#include <fmt/format.h>
#include <spdlog/spdlog.h>

#include <utility>

#include "support/weak_callback.h"

namespace petrel {
namespace {

// Foreign texts go into the log shortened.
std::string Shortened(const std::string& text) {
    constexpr std::size_t kMaximum = 60;
    return text.size() <= kMaximum ? text : text.substr(0, kMaximum) + "...";
}

}  // namespace

PhoneClient::PhoneClient(PhoneIdentity phone, Studio sharedStudio,
                         std::shared_ptr<web_server::WebSocketConnection> client)
    : identity(std::move(phone)), studio(sharedStudio), connection(std::move(client)) {}

PhoneClient::~PhoneClient() = default;

void PhoneClient::OnMessage(const std::string& text) {
    std::visit([this](const auto& message) { Handle(message); }, ReadMessage(text));
}

void PhoneClient::Handle(const JoinMaster& join) {
    sessionGuid = join.sessionGuid;
    spdlog::info("{}: joined", Name());
    connection->Send(PeerJoinedMessage(identity.userName, identity.peersIdentifier, sessionGuid));
}

void PhoneClient::Handle(const MasterMadeOffer& offer) {
    if (!IsForMe(offer.peersIdentifier)) {
        spdlog::warn("{}: an offer for another phone is ignored", Name());
        return;
    }
    std::string problem;
    std::optional<OfferPlan> plan =
        PlanAnswer(offer.sdp, {studio.encoder.Codec(), studio.encoder.HasAudio()}, problem);
    if (!plan) {
        spdlog::warn("{}: {}", Name(), problem);
        return;
    }
    for (const OfferedMedia& section : plan->media) {
        if (section.refusal.empty()) continue;
        spdlog::warn("{}: the offer's section \"{}\" ({}) is rejected: {}", Name(), section.mid,
                     Shortened(section.mediaName), section.refusal);
    }
    Answer(std::move(*plan));
}

void PhoneClient::Answer(OfferPlan plan) {
    media.reset();  // an offer always begins anew
    if (plan.engineOffer.empty()) {
        const std::string answer = ComposeAnswer(plan, nullptr);
        connection->Send(GotAnswerMessage(identity.peersIdentifier, sessionGuid, answer));
        return;
    }
    std::string problem;
    media = PeerMedia::Start(std::move(plan), studio.loop, studio.encoder, MediaEvents(), problem);
    if (media == nullptr) spdlog::error("{}: {}", Name(), problem);
}

PeerMediaEvents PhoneClient::MediaEvents() {
    const std::weak_ptr<PhoneClient> weak = weak_from_this();
    PeerMediaEvents events;
    events.onAnswer = support::WeakCallback(weak, [](PhoneClient& self, const std::string& sdp) {
        self.connection->Send(GotAnswerMessage(self.identity.peersIdentifier, self.sessionGuid, sdp));
    });
    events.onCandidate = support::WeakCallback(
        weak, [](PhoneClient& self, const std::string& candidate, const std::string& mid, int lineIndex) {
            self.connection->Send(
                IceMessage(self.identity.peersIdentifier, self.sessionGuid, candidate, mid, lineIndex));
        });
    events.onStreaming =
        support::WeakCallback(weak, [](PhoneClient& self) { spdlog::info("{}: streaming", self.Name()); });
    events.onFailed = support::WeakCallback(weak, [](PhoneClient& self, const std::string& problem) {
        spdlog::warn("{}: stopped streaming: {}", self.Name(), problem);
    });
    return events;
}

void PhoneClient::Handle(const CreatedAnswer&) {
    spdlog::warn("{}: an answer came, but the phone made no offer", Name());
}

void PhoneClient::Handle(const RemoteCandidate& candidate) {
    if (!IsForMe(candidate.peersIdentifier) || media == nullptr) return;
    if (!media->AddRemoteCandidate(candidate.candidate, candidate.mid, candidate.lineIndex)) {
        spdlog::warn("{}: a candidate that fits no section or is malformed is ignored", Name());
    }
}

// Broadcasts reach every phone of a session; each looks for its own identifier.
void PhoneClient::Handle(const TallyStateChanged& tally) {
    if (tally.peersIdentifier != identity.peersIdentifier || tally.onAir == onAir) return;
    onAir = tally.onAir;
    spdlog::info("{}: {}", Name(), onAir ? "on air" : "off air");
}

void PhoneClient::Handle(const UnknownMessage& message) {
    spdlog::warn("{}: a message \"{}\" is not understood", Name(), Shortened(message.action));
}

void PhoneClient::Handle(const MalformedMessage& message) {
    spdlog::warn("{}: {}", Name(), Shortened(message.problem));
}

// A client that does not know the phone's identifier yet leaves it empty.
bool PhoneClient::IsForMe(const std::string& peersIdentifier) const {
    return peersIdentifier.empty() || peersIdentifier == identity.peersIdentifier;
}

std::string PhoneClient::Name() const {
    return fmt::format("{}, client {}", identity.address, connection->RemoteAddress());
}

}  // namespace petrel
