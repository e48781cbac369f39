#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>
#include <utility>

#include "host_runtime/network/ByteStream.h"
#include "host_runtime/network/NetworkThread.h"
#include "host_runtime/network/TcpConnect.h"

namespace host_runtime {
namespace {

class PlainStream final : public ByteStream, public std::enable_shared_from_this<PlainStream> {
public:
    void Connect(const WebSocketUrl& url, Connected connected) override {
        ConnectTcp(shared_from_this(), tcp, url, [connected = std::move(connected)](bool success) {
            if (success) {
                connected(std::nullopt);
            } else {
                connected(ConnectFailure{});
            }
        });
    }

    void ReadSome(boost::asio::mutable_buffer into, Done done) override {
        socket.async_read_some(
            into, [self = shared_from_this(), done = std::move(done)](
                      const boost::system::error_code& error, std::size_t bytes) { done(error, bytes); });
    }

    void WriteAll(boost::asio::const_buffer bytes, Done done) override {
        boost::asio::async_write(
            socket, bytes,
            [self = shared_from_this(), done = std::move(done)](
                const boost::system::error_code& error, std::size_t written) { done(error, written); });
    }

    void Close() override { tcp.Close(); }

private:
    boost::asio::ip::tcp::socket socket{NetworkContext()};
    TcpEnd tcp{socket};
};

}  // namespace

std::shared_ptr<ByteStream> MakePlainStream() {
    return std::make_shared<PlainStream>();
}

}  // namespace host_runtime
