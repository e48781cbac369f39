// One client of the HTTPS server, from the first byte to the end.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <memory>
#include <string>

#include "support/object_count.h"
#include "web_server/Acceptor.h"
#include "web_server/HttpsServer.h"

namespace boost::asio::ssl {
class context;
}

namespace web_server {

class HttpsConnection;

// What a connection tells the server, on the network thread. OnGone comes last, and once.
class HttpsConnectionOwner {
public:
    virtual ~HttpsConnectionOwner() = default;
    virtual const HttpsServerOptions& Options() const = 0;
    virtual const HttpsHandlers& Handlers() const = 0;
    virtual void OnRefused(const std::string& address, const std::string& reason) = 0;
    virtual void OnGone(const std::shared_ptr<HttpsConnection>& connection) = 0;
};

// Keeps the context alive, but uses the owner only on the network thread, before OnGone. When it goes away,
// what was sent to a stream still goes out; everything else ends at once.
class HttpsConnection : public AcceptedConnection, private support::Counted<HttpsConnection> {
public:
    using support::Counted<HttpsConnection>::Alive;

    static std::shared_ptr<HttpsConnection> Make(std::shared_ptr<boost::asio::io_context> context,
                                                 std::shared_ptr<boost::asio::ssl::context> tls,
                                                 boost::asio::ip::tcp::socket socket,
                                                 HttpsConnectionOwner& owner);

    // [network thread]
    virtual const std::string& RemoteAddress() const = 0;
    virtual bool IsFromThisMachine() const = 0;
};

}  // namespace web_server
