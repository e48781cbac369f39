// A small rendezvous service over wss: brings the plug-in, which dials it, and simulated phones, which it
// dials itself, into one session. Messages of a phone go to the plug-in, those of the plug-in to the phone
// that they name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/network/cWebSocket.h"
#include "support/annotated_mutex.h"
#include "tests/contract/web_socket/Certificates.h"
#include "tests/e2e/rendezvous/ByteRelay.h"
#include "web_server/WebSocketServer.h"

namespace rendezvous {

class RendezvousService {
public:
    explicit RendezvousService(const tests::CertificateWish& certificate = {});
    ~RendezvousService();
    RendezvousService(const RendezvousService&) = delete;
    RendezvousService& operator=(const RendezvousService&) = delete;

    std::string Address() const;  // without a scheme, as a session is given it
    ByteRelay& Front() { return *front; }

    // What a join is answered with, besides its action.
    void AnswerJoinsWith(nlohmann::json answer);

    // The phone comes into the session as soon as it and the plug-in are there; leaves it when it goes away
    // or is sent away. The number of the phone.
    std::size_t AddPhone(const std::string& url);
    void SendAway(std::size_t phone);

    void SayToPlugin(const nlohmann::json& message);
    void CloseToPlugin();  // with a close frame

    std::vector<std::string> Joins() const;               // as they came, the oldest first
    std::vector<std::string> FromPlugin() const;          // all other messages of the plug-in
    std::string PeerIdentifier(std::size_t phone) const;  // once it has joined

private:
    class Meeting;

    tests::TlsContext tls;
    std::shared_ptr<Meeting> meeting;
    std::unique_ptr<web_server::WebSocketServer> server;
    std::unique_ptr<ByteRelay> front;
};

}  // namespace rendezvous
