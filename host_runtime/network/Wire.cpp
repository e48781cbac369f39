#include "host_runtime/network/Wire.h"

#include <array>
#include <boost/asio/post.hpp>
#include <cstdint>
#include <random>

namespace host_runtime {

void Wire::Read(boost::asio::mutable_buffer into, ByteStream::Done done) {
    stream->ReadSome(into, [this, into, done = std::move(done)](const boost::system::error_code& error,
                                                                std::size_t bytes) {
        if (bytes != 0 && onReceived) onReceived({static_cast<const char*>(into.data()), bytes});
        done(error, bytes);
    });
}

void Wire::Write(ByteStream::Done done) {
    if (isSealed) {
        boost::asio::post(NetworkContext(),
                          [done = std::move(done), bytes = outgoing.size()] { done({}, bytes); });
        return;
    }
    writing = true;
    stream->WriteAll(
        boost::asio::buffer(outgoing),
        [this, done = std::move(done)](const boost::system::error_code& error, std::size_t bytes) {
            writing = false;
            if (isSealed) Seal(std::move(sealing));
            done(error, bytes);
        });
}

void Wire::Seal(std::string lastFrame) {
    isSealed = true;
    sealing = std::move(lastFrame);
    if (writing) return;
    writing = true;
    // The stream is kept alive by the write itself, the text by its handler.
    auto frame = std::make_shared<std::string>(std::move(sealing));
    stream->WriteAll(boost::asio::buffer(*frame), [frame](const boost::system::error_code&, std::size_t) {});
}

std::string CloseFrame(std::uint16_t status) {
    const std::array<std::uint8_t, 2> payload = {static_cast<std::uint8_t>(status >> 8),
                                                 static_cast<std::uint8_t>(status & 0xFF)};
    const std::uint32_t key = std::random_device{}();
    std::string frame("\x88\x82", 2);
    for (int shift = 24; shift >= 0; shift -= 8)
        frame.push_back(static_cast<char>((key >> shift) & 0xFF));
    for (std::size_t i = 0; i < payload.size(); ++i)
        frame.push_back(static_cast<char>(payload[i] ^ static_cast<std::uint8_t>(frame[2 + i])));
    return frame;
}

}  // namespace host_runtime
