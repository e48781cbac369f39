// Who is at the other end of a socket.
#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <string>

namespace web_server {

// Without port; an IPv4 address in the form of IPv6 as what it is. Empty when the socket is not connected.
std::string RemoteAddressOf(const boost::asio::ip::tcp::socket& socket);

// A loopback address, or the very address of this machine to which it came.
bool ComesFromThisMachine(const boost::asio::ip::tcp::socket& socket);

}  // namespace web_server
