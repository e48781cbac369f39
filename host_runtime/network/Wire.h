// The byte stream as the WebSocket protocol sees it: the handlers' types are erased, so that one protocol
// implementation serves plain and encrypted connections. Network thread only.
#pragma once

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "host_runtime/network/ByteStream.h"
#include "host_runtime/network/NetworkThread.h"

namespace host_runtime {

class Wire {
public:
    using executor_type = boost::asio::io_context::executor_type;

    explicit Wire(std::shared_ptr<ByteStream> toUse) : stream(std::move(toUse)) {}
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;

    // Told of all received bytes before the protocol gets them.
    std::function<void(std::string_view bytes)> onReceived;

    // Sends `lastFrame` once what is being written is out; what the protocol writes afterwards is dropped.
    void Seal(std::string lastFrame);
    void Close() { stream->Close(); }

    // What an asynchronous stream must offer; the handlers may be movable only.
    executor_type get_executor() noexcept { return NetworkContext().get_executor(); }

    template <class Buffers, class Handler>
    void async_read_some(const Buffers& buffers, Handler&& handler) {
        Read(FirstOf(buffers), Erase(std::forward<Handler>(handler)));
    }

    template <class Buffers, class Handler>
    void async_write_some(const Buffers& buffers, Handler&& handler) {
        outgoing.resize(boost::asio::buffer_size(buffers));
        boost::asio::buffer_copy(boost::asio::buffer(outgoing), buffers);
        Write(Erase(std::forward<Handler>(handler)));
    }

private:
    template <class Handler>
    static ByteStream::Done Erase(Handler&& handler) {
        auto shared = std::make_shared<std::decay_t<Handler>>(std::forward<Handler>(handler));
        return [shared](const boost::system::error_code& error, std::size_t bytes) {
            std::move (*shared)(error, bytes);
        };
    }

    template <class Buffers>
    static boost::asio::mutable_buffer FirstOf(const Buffers& buffers) {
        for (auto each = boost::asio::buffer_sequence_begin(buffers);
             each != boost::asio::buffer_sequence_end(buffers); ++each) {
            const boost::asio::mutable_buffer buffer(*each);
            if (buffer.size() != 0) return buffer;
        }
        return {};
    }

    void Read(boost::asio::mutable_buffer into, ByteStream::Done done);
    void Write(ByteStream::Done done);

    std::shared_ptr<ByteStream> stream;
    std::string outgoing;
    std::string sealing;
    bool writing = false;
    bool isSealed = false;
};

// RFC 6455 section 7.4.1
inline constexpr std::uint16_t kNormalClosure = 1000;
inline constexpr std::uint16_t kInvalidPayload = 1007;

// The masked close frame that a client ends with (section 5.2).
std::string CloseFrame(std::uint16_t status);

}  // namespace host_runtime
