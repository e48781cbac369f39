// A phone of the stories: serves the signalling WebSocket as a real one does, and films.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/unit/stories/PhoneNetwork.h"

namespace stories {

class Phone {
public:
    enum class Mood {
        Off,         // connecting is refused, as by a machine on which the app does not run
        Away,        // out of reach: nothing comes back, in either direction
        Silent,      // takes the TCP connection and says nothing
        SomeServer,  // answers, but is no WebSocket server
        On,
    };

    Phone(PhoneNetwork& network, std::string peerIdentifier);
    const std::string& Identifier() const { return identifier; }

    void SwitchOn();
    // The app ends and its machine resets the connections.
    void SwitchOff();
    // The app closes its connections properly and ends.
    void SayGoodbye();
    // The app goes on; its connections end.
    void EndConnections(std::optional<cWebSocket::Error> error);
    void LeaveReach();
    // Connections that were not given up meanwhile go on.
    void ReturnToReach();
    void GoSilent();
    void BecomeSomeServer();
    // At first a join is answered by "peerJoined" only.
    enum class JoinAnswer { None, Ok, Busy, BusyAndGoodbye };
    void AnswerJoins(JoinAnswer answer) { joinAnswer = answer; }

    bool IsFilming() const { return mood == Mood::On; }
    // Goes up whenever the app or a connection to it ends: what it had negotiated before is void then.
    int Run() const { return run; }
    std::size_t OpenClients() const;
    // "lit" or "dark", as the phone was last told.
    const std::vector<std::string>& TallyHeard() const { return tallyHeard; }

    void Connect(const std::weak_ptr<NetworkSocket>& socket, int attempt, std::int64_t timeoutUs);
    void ClientLeft() { ++run; }
    void Hear(const std::weak_ptr<NetworkSocket>& socket, int attempt, const std::string& text);
    // Every socket that is connected to the phone reports these errors, one right after the other.
    void MakeClientsReportErrors(cWebSocket::Error error, int count);

private:
    struct Client {
        std::weak_ptr<NetworkSocket> socket;
        int attempt = 0;
    };
    void Quit(Mood newMood, std::optional<cWebSocket::Error> error);
    void EndClients(std::optional<cWebSocket::Error> error);
    void AnswerJoin(const Client& client, const std::string& sessionGuid);
    void Say(const Client& client, const std::string& text);

    PhoneNetwork& network;
    const std::string identifier;
    Mood mood = Mood::Off;
    int run = 0;
    int absences = 0;
    JoinAnswer joinAnswer = JoinAnswer::None;
    std::vector<Client> clients;
    std::vector<std::string> tallyHeard;
};

}  // namespace stories
