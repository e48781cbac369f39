// Finds the addresses of a host name without holding up the network thread.
#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <functional>
#include <string>
#include <vector>

namespace host_runtime {

// [any-thread] Calls `done` once, later, on the network thread; with nothing when the name is unknown.
// A look-up cannot be interrupted: whoever gives up earlier ignores the answer.
void LookUp(const std::string& host, std::uint16_t port,
            std::function<void(std::vector<boost::asio::ip::tcp::endpoint>)> done);

}  // namespace host_runtime
