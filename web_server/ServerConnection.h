// One client of the WebSocket server, from the first byte of its request to the end.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <memory>
#include <string>

#include "support/object_count.h"
#include "web_server/Acceptor.h"
#include "web_server/WebSocketServer.h"

namespace web_server {

class ServerConnection;

// What a connection tells the server, on the network thread. OnGone comes last, and once.
class ServerConnectionOwner {
public:
    virtual ~ServerConnectionOwner() = default;
    virtual void OnOpened(const std::shared_ptr<ServerConnection>& connection) = 0;
    virtual void OnMessage(const std::shared_ptr<ServerConnection>& connection, std::string text) = 0;
    virtual void OnEnded(const std::shared_ptr<ServerConnection>& connection) = 0;
    virtual void OnGone(const std::shared_ptr<ServerConnection>& connection) = 0;
};

// Keeps the context alive, but uses the owner only on the network thread, before OnGone. It goes
// away with a close frame, and then tells nothing any more but OnGone.
class ServerConnection : public WebSocketConnection,
                         public AcceptedConnection,
                         private support::Counted<ServerConnection> {
public:
    using support::Counted<ServerConnection>::Alive;

    static std::shared_ptr<ServerConnection> Make(std::shared_ptr<boost::asio::io_context> context,
                                                  boost::asio::ip::tcp::socket socket,
                                                  const WebSocketServerOptions& options,
                                                  ServerConnectionOwner& owner);
};

}  // namespace web_server
