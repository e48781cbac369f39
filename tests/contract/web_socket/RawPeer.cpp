#include "tests/contract/web_socket/RawPeer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/evp.h>
#include <openssl/sha.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

namespace tests {
namespace {

constexpr int kPatienceSeconds = 8;
constexpr const char* kKeySuffix = "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";  // RFC 6455 section 1.3

std::string HeaderValue(const std::string& header, const std::string& name) {
    const std::size_t at = header.find(name + ": ");
    if (at == std::string::npos) return {};
    const std::size_t begin = at + name.size() + 2;
    return header.substr(begin, header.find("\r\n", begin) - begin);
}

std::string AcceptKey(const std::string& key) {
    const std::string text = key + kKeySuffix;
    std::array<unsigned char, SHA_DIGEST_LENGTH> digest{};
    SHA1(reinterpret_cast<const unsigned char*>(text.data()), text.size(), digest.data());
    std::array<unsigned char, 32> encoded{};
    const int length = EVP_EncodeBlock(encoded.data(), digest.data(), static_cast<int>(digest.size()));
    return {reinterpret_cast<const char*>(encoded.data()), static_cast<std::size_t>(length)};
}

// TLS writes through write(2), which signals a broken pipe to the thread.
void IgnoreBrokenPipeHere() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

}  // namespace

std::string EncodeFrame(const Frame& frame, Masking masking) {
    std::string bytes;
    bytes.push_back(static_cast<char>((frame.fin ? 0x80 : 0) | frame.opcode));
    const char maskBit = masking == Masking::Masked ? '\x80' : '\0';
    const std::size_t size = frame.payload.size();
    int lengthBytes = 0;
    if (size < 126) {
        bytes.push_back(static_cast<char>(maskBit | static_cast<char>(size)));
    } else {
        lengthBytes = size < 65536 ? 2 : 8;
        bytes.push_back(static_cast<char>(maskBit | (lengthBytes == 2 ? 126 : 127)));
    }
    for (int shift = (lengthBytes - 1) * 8; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<char>((size >> shift) & 0xFF));
    if (masking == Masking::None) return bytes + frame.payload;
    constexpr std::string_view kMask = "mask";
    bytes += kMask;
    for (std::size_t i = 0; i < size; ++i)
        bytes.push_back(static_cast<char>(frame.payload[i] ^ kMask[i % 4]));
    return bytes;
}

RawPeer::RawPeer(int socketToOwn, int itsNumber) : socket(socketToOwn), number(itsNumber) {
    const timeval patience{kPatienceSeconds, 0};
    setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
    setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof(patience));
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
}

RawPeer::~RawPeer() {
    SSL_free(tls);
    ::close(socket);
}

std::unique_ptr<RawPeer> RawPeer::ConnectTo(std::uint16_t port) {
    const int made = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    auto peer = std::make_unique<RawPeer>(made);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    if (connect(made, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) return nullptr;
    return peer;
}

bool RawPeer::AcceptTls(SSL_CTX* context) {
    IgnoreBrokenPipeHere();
    tls = SSL_new(context);
    SSL_set_fd(tls, socket);
    return SSL_accept(tls) == 1;
}

bool RawPeer::Send(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto sent =
            tls != nullptr
                ? static_cast<ssize_t>(SSL_write(tls, bytes.data(), static_cast<int>(bytes.size())))
                : ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

bool RawPeer::SendSlowly(std::string_view bytes) {
    for (const char& byte : bytes) {
        if (!Send({&byte, 1})) return false;
    }
    return true;
}

bool RawPeer::Fill() {
    std::array<char, 65536> chunk;
    const auto count = tls != nullptr
                           ? static_cast<ssize_t>(SSL_read(tls, chunk.data(), static_cast<int>(chunk.size())))
                           : recv(socket, chunk.data(), chunk.size(), 0);
    if (count <= 0) return false;
    received.append(chunk.data(), static_cast<std::size_t>(count));
    return true;
}

bool RawPeer::Take(std::size_t count, std::string& into) {
    while (received.size() < count) {
        if (!Fill()) return false;
    }
    into = received.substr(0, count);
    received.erase(0, count);
    return true;
}

std::string RawPeer::ReadHeader() {
    std::size_t end = std::string::npos;
    while ((end = received.find("\r\n\r\n")) == std::string::npos) {
        if (!Fill()) return std::exchange(received, {});
    }
    std::string header;
    Take(end + 4, header);
    return header;
}

bool RawPeer::ReadRequest() {
    request = ReadHeader();
    return !request.empty();
}

bool RawPeer::AcceptWebSocket() {
    return ReadRequest() && Send(Acceptance());
}

std::string RawPeer::Acceptance() const {
    return "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
           "Sec-WebSocket-Accept: " +
           AcceptKey(HeaderValue(request, "Sec-WebSocket-Key")) + "\r\n\r\n";
}

std::string RawPeer::RequestWebSocket(const std::string& path) {
    Send("GET " + path +
         " HTTP/1.1\r\nHost: test\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
         "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n\r\n");
    return ReadHeader();
}

std::optional<ReceivedFrame> RawPeer::ReadFrame() {
    std::string head;
    if (!Take(2, head)) return std::nullopt;
    const auto byte = [](char value) { return static_cast<unsigned char>(value); };
    ReceivedFrame frame;
    frame.fin = (byte(head[0]) & 0x80) != 0;
    frame.opcode = byte(head[0]) & 0x0F;
    frame.reservedBits = (byte(head[0]) >> 4) & 0x7;
    std::size_t length = byte(head[1]) & 0x7F;
    if (length >= 126) {
        std::string extended;
        frame.lengthBytes = length == 126 ? 2 : 8;
        if (!Take(static_cast<std::size_t>(frame.lengthBytes), extended)) return std::nullopt;
        length = 0;
        for (const char digit : extended)
            length = (length << 8) | byte(digit);
    }
    std::string mask(4, '\0');
    frame.masked = (byte(head[1]) & 0x80) != 0;
    if (frame.masked && !Take(4, mask)) return std::nullopt;
    frame.mask = mask;
    if (!Take(length, frame.payload)) return std::nullopt;
    for (std::size_t i = 0; i < length; ++i)
        frame.payload[i] = static_cast<char>(frame.payload[i] ^ mask[i % 4]);
    return frame;
}

std::optional<ReceivedFrame> RawPeer::ReadMessage() {
    auto frame = ReadFrame();
    while (frame && (frame->opcode == kPing || frame->opcode == kPong))
        frame = ReadFrame();
    return frame;
}

bool RawPeer::WaitForEnd() {
    do {
        received.clear();
        errno = 0;
    } while (Fill());
    return errno != EAGAIN;
}

void RawPeer::Reset() {
    const linger abrupt{1, 0};
    setsockopt(socket, SOL_SOCKET, SO_LINGER, &abrupt, sizeof(abrupt));
    // Disconnecting sends the reset now and leaves the descriptor to the destructor.
    sockaddr_in none{};
    none.sin_family = AF_UNSPEC;
    connect(socket, reinterpret_cast<const sockaddr*>(&none), sizeof(none));
}

void RawPeer::ShutDown() {
    ::shutdown(socket, SHUT_RDWR);
}

}  // namespace tests
