#include "host_runtime/network/TcpConnect.h"

#include <boost/asio/connect.hpp>
#include <utility>

#include "host_runtime/network/NameLookup.h"

namespace host_runtime {

using boost::asio::ip::tcp;

void TcpEnd::Close() {
    closed = true;
    boost::system::error_code ignored;
    socket.shutdown(tcp::socket::shutdown_both, ignored);
    socket.close(ignored);
}

void ConnectTcp(std::shared_ptr<void> owner, TcpEnd& tcp, const WebSocketUrl& url,
                std::function<void(bool connected)> done) {
    LookUp(url.host, url.port,
           [owner = std::move(owner), &tcp,
            done = std::move(done)](std::vector<boost::asio::ip::tcp::endpoint> endpoints) {
               if (tcp.closed || endpoints.empty()) {
                   done(false);
                   return;
               }
               const auto onConnected = [owner, &tcp, done](const boost::system::error_code& error,
                                                            const tcp::endpoint&) {
                   const bool connected = !error && !tcp.closed;
                   boost::system::error_code ignored;
                   if (connected) tcp.socket.set_option(tcp::no_delay(true), ignored);
                   done(connected);
               };
               // The closing is looked at before each address: the connect opens the socket anew.
               boost::asio::async_connect(
                   tcp.socket, endpoints,
                   [&tcp](const boost::system::error_code&, const tcp::endpoint&) { return !tcp.closed; },
                   onConnected);
           });
}

}  // namespace host_runtime
