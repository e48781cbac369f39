#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <functional>
#include <memory>

#include "host_runtime/network/WebSocketUrl.h"

namespace host_runtime {

// The TCP end of a byte stream. Closing it for good keeps a late look-up from opening it again.
struct TcpEnd {
    explicit TcpEnd(boost::asio::ip::tcp::socket& toUse) : socket(toUse) {}

    void Close();

    boost::asio::ip::tcp::socket& socket;
    bool closed = false;
};

// Network thread only. Tries the host's addresses one after another; `owner` keeps `tcp` alive meanwhile.
void ConnectTcp(std::shared_ptr<void> owner, TcpEnd& tcp, const WebSocketUrl& url,
                std::function<void(bool connected)> done);

}  // namespace host_runtime
