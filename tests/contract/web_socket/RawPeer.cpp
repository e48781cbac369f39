#include "tests/contract/web_socket/RawPeer.h"

#include <openssl/evp.h>
#include <openssl/sha.h>

#include <array>

namespace tests {
namespace {

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

std::unique_ptr<RawPeer> RawPeer::ConnectTo(std::uint16_t port) {
    auto peer = std::make_unique<RawPeer>(Make());
    return peer->Dial(port) ? std::move(peer) : nullptr;
}

bool RawPeer::AcceptTls(SSL_CTX* context) {
    return SSL_accept(UseTls(context)) == 1;
}

bool RawPeer::SendSlowly(std::string_view bytes) {
    for (const char& byte : bytes) {
        if (!Send({&byte, 1})) return false;
    }
    return true;
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

}  // namespace tests
