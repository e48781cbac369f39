// One end of a WebSocket connection that says exactly what a test wants: nothing here knows how a WebSocket
// ought to behave.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tests/contract/web_socket/TestSocket.h"

namespace tests {

struct Frame {
    int opcode = 0;
    bool fin = true;
    std::string payload;
};

// With how it was written.
struct ReceivedFrame : Frame {
    int reservedBits = 0;
    bool masked = false;
    std::string mask;
    int lengthBytes = 0;  // besides the first one
};

inline constexpr int kContinuation = 0x0;
inline constexpr int kText = 0x1;
inline constexpr int kBinary = 0x2;
inline constexpr int kClose = 0x8;
inline constexpr int kPing = 0x9;
inline constexpr int kPong = 0xA;

enum class Masking { None, Masked };

// The bytes of one frame, masked as a client's or not as a server's (RFC 6455 section 5.2).
std::string EncodeFrame(const Frame& frame, Masking masking = Masking::None);

class RawPeer : public TestSocket {
public:
    explicit RawPeer(int socketToOwn, int itsNumber = 1) : TestSocket(socketToOwn), number(itsNumber) {}

    static std::unique_ptr<RawPeer> ConnectTo(std::uint16_t port);  // on 127.0.0.1; null when refused

    int Number() const { return number; }  // of the server's connections, from 1

    bool AcceptTls(SSL_CTX* context);

    bool SendSlowly(std::string_view bytes);  // one byte per segment
    bool SendFrame(const Frame& frame) { return Send(EncodeFrame(frame)); }

    // The server's part of the opening: reads the request, and accepts it.
    bool ReadRequest();
    bool AcceptWebSocket();
    // The client's part: asks for a path and reads the answer.
    std::string RequestWebSocket(const std::string& path);
    const std::string& Request() const { return request; }
    std::string Acceptance() const;  // the answer to the request that was read

    bool ReadSome() { return Fill(); }
    std::string ReadHeader() { return ReadUntil("\r\n\r\n"); }  // with the empty line
    std::optional<ReceivedFrame> ReadFrame();
    // The next frame that is neither ping nor pong.
    std::optional<ReceivedFrame> ReadMessage();

private:
    const int number;
    std::string request;
};

}  // namespace tests
