// One end of a TCP connection, perhaps with TLS, that says exactly what a test wants: nothing here knows
// how a WebSocket ought to behave. Every operation gives up after a few seconds.
#pragma once

#include <openssl/ssl.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

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

class RawPeer {
public:
    explicit RawPeer(int socketToOwn, int itsNumber = 1);
    ~RawPeer();
    RawPeer(const RawPeer&) = delete;
    RawPeer& operator=(const RawPeer&) = delete;

    static std::unique_ptr<RawPeer> ConnectTo(std::uint16_t port);  // on 127.0.0.1; null when refused

    int Number() const { return number; }  // of the server's connections, from 1

    bool AcceptTls(SSL_CTX* context);

    // False when the other end is gone.
    bool Send(std::string_view bytes);
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
    std::string ReadHeader();  // up to and with the empty line; what came when the end is reached
    std::optional<ReceivedFrame> ReadFrame();
    // The next frame that is neither ping nor pong.
    std::optional<ReceivedFrame> ReadMessage();

    // Reads and forgets until the other end is gone; false when it is still there after the time.
    bool WaitForEnd();
    void Reset();     // the end comes as a reset
    void ShutDown();  // [any-thread] ends a running operation

private:
    bool Fill();
    bool Take(std::size_t count, std::string& into);

    const int socket;
    const int number;
    SSL* tls = nullptr;
    std::string request;
    std::string received;
};

}  // namespace tests
