#include "tests/unit/stories/Phone.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

namespace stories {

using Error = cWebSocket::Error;

Phone::Phone(PhoneNetwork& itsNetwork, std::string peerIdentifier)
    : network(itsNetwork), identifier(std::move(peerIdentifier)) {}

void Phone::SwitchOn() {
    mood = Mood::On;
}

void Phone::SwitchOff() {
    Quit(Mood::Off, Error::Lost);
}

void Phone::SayGoodbye() {
    Quit(Mood::Off, std::nullopt);
}

void Phone::EndConnections(std::optional<Error> error) {
    Quit(mood, error);
}

void Phone::LeaveReach() {
    mood = Mood::Away;
    network.After(PhoneNetwork::kLivenessUs, [this, absence = ++absences] {
        if (mood == Mood::Away && absence == absences) Quit(Mood::Away, Error::Lost);
    });
}

void Phone::ReturnToReach() {
    mood = Mood::On;
}

void Phone::GoSilent() {
    Quit(Mood::Silent, Error::Lost);
}

void Phone::BecomeSomeServer() {
    Quit(Mood::SomeServer, Error::Lost);
}

void Phone::Quit(Mood newMood, std::optional<Error> error) {
    mood = newMood;
    ++run;
    EndClients(error);
}

std::size_t Phone::OpenClients() const {
    return static_cast<std::size_t>(std::count_if(clients.begin(), clients.end(), [](const Client& client) {
        const auto socket = client.socket.lock();
        return socket && socket->IsOpen(client.attempt);
    }));
}

void Phone::Connect(const std::weak_ptr<NetworkSocket>& socket, int attempt, std::int64_t timeoutUs) {
    const auto failAfter = [&](std::int64_t delayUs, Error error) {
        network.After(delayUs, [socket, attempt, error] {
            if (const auto failed = socket.lock()) failed->NotEstablished(attempt, error);
        });
    };
    switch (mood) {
        case Mood::Off:
            return failAfter(PhoneNetwork::kRefusalUs, Error::ConnectFailed);
        case Mood::Away:
        case Mood::Silent:
            return failAfter(timeoutUs, Error::ConnectFailed);
        case Mood::SomeServer:
            return failAfter(PhoneNetwork::kConnectUs, Error::Permanent);
        case Mood::On:
            break;
    }
    network.After(PhoneNetwork::kConnectUs, [this, socket, attempt] {
        const auto opened = socket.lock();
        if (!opened) return;
        if (mood != Mood::On) {
            opened->NotEstablished(attempt, Error::ConnectFailed);
            return;
        }
        clients.push_back({socket, attempt});
        opened->Established(attempt);
    });
}

void Phone::Hear(const std::weak_ptr<NetworkSocket>& socket, int attempt, const std::string& text) {
    if (mood != Mood::On) return;
    const Client client{socket, attempt};
    const nlohmann::json message = nlohmann::json::parse(text);
    const std::string action = message.at("action");
    if (action == "joinMaster") {
        AnswerJoin(client, message.at("sessionGuid"));
    } else if (action == "masterMadeOffer") {
        Say(client, nlohmann::json{{"action", "gotAnswer"},
                                   {"peersIdentifier", identifier},
                                   {"sdp", "answer of " + identifier},
                                   {"type", "answer"}}
                        .dump());
    } else if (action == "broadcastToPeers" && message.at("tallyPeerIdentifier") == identifier) {
        tallyHeard.emplace_back(message.at("value").get<bool>() ? "lit" : "dark");
    }
}

void Phone::AnswerJoin(const Client& client, const std::string& sessionGuid) {
    if (joinAnswer != JoinAnswer::None) {
        Say(client, nlohmann::json{{"action", "joinMasterResponse"},
                                   {"iceServers", nlohmann::json::array()},
                                   {"result", joinAnswer == JoinAnswer::Ok ? "OK" : "BUSY"}}
                        .dump());
    }
    if (joinAnswer == JoinAnswer::BusyAndGoodbye) {
        network.After(PhoneNetwork::kRoundTripUs, [client] {
            if (const auto socket = client.socket.lock()) socket->Ended(client.attempt, std::nullopt);
        });
    }
    if (joinAnswer == JoinAnswer::Busy || joinAnswer == JoinAnswer::BusyAndGoodbye) return;
    Say(client, nlohmann::json{{"action", "peerJoined"},
                               {"peersIdentifier", identifier},
                               {"sessionGuid", sessionGuid},
                               {"username", "Petrel"}}
                    .dump());
}

void Phone::Say(const Client& client, const std::string& text) {
    network.After(PhoneNetwork::kRoundTripUs / 2, [client, text] {
        if (const auto socket = client.socket.lock()) socket->Deliver(client.attempt, text);
    });
}

void Phone::EndClients(std::optional<Error> error) {
    for (const Client& client : std::exchange(clients, {}))
        if (const auto socket = client.socket.lock()) socket->Ended(client.attempt, error);
}

void Phone::MakeClientsReportErrors(Error error, int count) {
    for (const Client& client : std::exchange(clients, {})) {
        const auto socket = client.socket.lock();
        if (!socket || !socket->IsOpen(client.attempt)) continue;
        ++run;
        for (int reported = 0; reported < count; ++reported)
            socket->ReportError(error);
    }
}

}  // namespace stories
