#include "web_server/PeerAddress.h"

namespace web_server {
namespace {

namespace ip = boost::asio::ip;
using boost::system::error_code;

ip::address PlainAddress(const ip::address& address) {
    if (!address.is_v6() || !address.to_v6().is_v4_mapped()) return address;
    return ip::make_address_v4(ip::v4_mapped, address.to_v6());
}

}  // namespace

std::string RemoteAddressOf(const ip::tcp::socket& socket) {
    error_code error;
    const ip::tcp::endpoint endpoint = socket.remote_endpoint(error);
    return error ? std::string() : PlainAddress(endpoint.address()).to_string();
}

bool ComesFromThisMachine(const ip::tcp::socket& socket) {
    error_code error;
    const ip::tcp::endpoint remote = socket.remote_endpoint(error);
    if (error) return false;
    const ip::tcp::endpoint local = socket.local_endpoint(error);
    return !error && (PlainAddress(remote.address()).is_loopback() || remote.address() == local.address());
}

}  // namespace web_server
