// The one thread on which every socket of the process works and every handler runs.
#pragma once

#include <boost/asio/io_context.hpp>

namespace host_runtime {

// [any-thread] The context of the network thread, which starts with the first call. It is never
// destroyed; the thread stops when the process exits.
boost::asio::io_context& NetworkContext();

}  // namespace host_runtime
