// A connection that carries bytes, in the clear or encrypted. All operations run on the network thread;
// what they are given to call is called later, never inside the operation.
#pragma once

#include <boost/asio/buffer.hpp>
#include <boost/system/error_code.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "host/network/cWebSocket.h"
#include "host_runtime/network/WebSocketUrl.h"

namespace host_runtime {

// Why there is no connection. The reason is part of a sentence, for failures that trying again does not mend.
struct ConnectFailure {
    cWebSocket::Error error = cWebSocket::Error::ConnectFailed;
    std::string reason;
};

class ByteStream {
public:
    using Done = std::function<void(const boost::system::error_code& error, std::size_t bytes)>;
    using Connected = std::function<void(std::optional<ConnectFailure> failure)>;

    virtual ~ByteStream() = default;

    // Name look-up, TCP and, where it is encrypted, TLS; once in the life of the object.
    virtual void Connect(const WebSocketUrl& url, Connected connected) = 0;
    virtual void ReadSome(boost::asio::mutable_buffer into, Done done) = 0;
    virtual void WriteAll(boost::asio::const_buffer bytes, Done done) = 0;
    // Ends pending operations with an error.
    virtual void Close() = 0;
};

std::shared_ptr<ByteStream> MakePlainStream();
std::shared_ptr<ByteStream> MakeTlsStream(const std::string& extraCaFile);

}  // namespace host_runtime
