// One simulated phone: a WebSocket server on its address and the clients that came to it.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "apps/petrel/PhoneClient.h"
#include "apps/petrel/PhoneIdentity.h"
#include "support/object_count.h"
#include "web_server/WebSocketServer.h"

namespace petrel {

inline constexpr std::uint16_t kPhonePort = 9001;

class Phone : public std::enable_shared_from_this<Phone>, private support::Counted<Phone> {
public:
    using Counted::Alive;

    // Null with a sentence in `error` when the address cannot be used. Port 0 lets the system choose.
    static std::shared_ptr<Phone> Listen(PhoneIdentity identity, Studio studio, std::uint16_t port,
                                         std::string& error);
    Phone(PhoneIdentity toBe, Studio sharedStudio);
    ~Phone();

    std::uint16_t Port() const { return server->Port(); }

    // Takes no more clients and lets those that are there go. The control loop ends their media.
    void Stop();

private:
    using Connection = std::shared_ptr<web_server::WebSocketConnection>;

    web_server::WebSocketHandlers Handlers();
    void OnOpen(const Connection& connection);
    void OnMessage(const Connection& connection, const std::string& text);
    void OnClose(const Connection& connection);

    const PhoneIdentity identity;
    const Studio studio;
    std::map<Connection, std::shared_ptr<PhoneClient>> clients;  // control thread only
    std::unique_ptr<web_server::WebSocketServer> server;
};

}  // namespace petrel
