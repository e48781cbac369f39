#include "tests/e2e/nonsense/NonsensePhone.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/evp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace nonsense {
namespace {

constexpr std::size_t kMaximumRequest = 16 * 1024;
constexpr std::uint64_t kMaximumFrame = 16 * 1024 * 1024;

// RFC 6455, section 4.2.2: the key with a fixed text, hashed, in base 64.
std::string AcceptValueFor(const std::string& key) {
    const std::string text = key + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned length = 0;
    EVP_Digest(text.data(), text.size(), digest.data(), &length, EVP_sha1(), nullptr);
    std::array<unsigned char, 4 * EVP_MAX_MD_SIZE / 3 + 4> encoded{};
    const int size = EVP_EncodeBlock(encoded.data(), digest.data(), static_cast<int>(length));
    return {reinterpret_cast<const char*>(encoded.data()), static_cast<std::size_t>(size)};
}

// The value of one header of a request; empty without it.
std::string HeaderOf(const std::string& request, const std::string& name) {
    const std::size_t start = request.find("\r\n" + name + ": ");
    if (start == std::string::npos) return {};
    const std::size_t from = start + name.size() + 4;
    return request.substr(from, request.find("\r\n", from) - from);
}

std::uint64_t BigEndian(const std::string& bytes) {
    std::uint64_t value = 0;
    for (const char byte : bytes)
        value = (value << 8) | static_cast<std::uint8_t>(byte);
    return value;
}

}  // namespace

Conversation::Conversation(int acceptedSocket) : socket(acceptedSocket) {}

Conversation::~Conversation() {
    close(socket);
}

void Conversation::SwitchOff() {
    shutdown(socket, SHUT_RDWR);
}

bool Conversation::ReadExactly(std::string& bytes, std::size_t count) {
    bytes.resize(count);
    std::size_t have = 0;
    while (have < count) {
        const ssize_t got = recv(socket, bytes.data() + have, count - have, 0);
        if (got <= 0) return false;
        have += static_cast<std::size_t>(got);
    }
    return true;
}

std::string Conversation::ReadRequest() {
    std::string request;
    std::string byte;
    while (request.size() < kMaximumRequest && ReadExactly(byte, 1)) {
        request += byte;
        if (request.ends_with("\r\n\r\n")) return request;
    }
    return {};
}

bool Conversation::AcceptWebSocket() {
    const std::string key = HeaderOf(ReadRequest(), "Sec-WebSocket-Key");
    if (key.empty()) return false;
    SendRaw(
        "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
        "Sec-WebSocket-Accept: " +
        AcceptValueFor(key) + "\r\n\r\n");
    return true;
}

void Conversation::SendRaw(const std::string& bytes) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count = send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) return;
        sent += static_cast<std::size_t>(count);
    }
}

void Conversation::SendFrame(unsigned operation, const std::string& payload, bool isLast) {
    std::string frame;
    frame += static_cast<char>((isLast ? 0x80U : 0U) | operation);
    const std::uint64_t size = payload.size();
    int sizeBytes = 0;
    if (size < 126) {
        frame += static_cast<char>(size);
    } else {
        sizeBytes = size < 65536 ? 2 : 8;
        frame += static_cast<char>(sizeBytes == 2 ? 126 : 127);
    }
    for (int index = sizeBytes - 1; index >= 0; --index)
        frame += static_cast<char>(size >> (8 * index));
    SendRaw(frame + payload);
}

bool Conversation::ReadFrame(Frame& frame) {
    std::string bytes;
    if (!ReadExactly(bytes, 2)) return false;
    frame.operation = static_cast<std::uint8_t>(bytes[0]) & 0x0FU;
    const bool masked = (static_cast<std::uint8_t>(bytes[1]) & 0x80U) != 0;
    std::uint64_t size = static_cast<std::uint8_t>(bytes[1]) & 0x7FU;
    if (size >= 126) {
        if (!ReadExactly(bytes, size == 126 ? 2 : 8)) return false;
        size = BigEndian(bytes);
    }
    std::string mask;
    if (size > kMaximumFrame || (masked && !ReadExactly(mask, 4))) return false;
    if (!ReadExactly(frame.payload, static_cast<std::size_t>(size))) return false;
    for (std::size_t index = 0; masked && index < frame.payload.size(); ++index) {
        frame.payload[index] = static_cast<char>(frame.payload[index] ^ mask[index % 4]);
    }
    return true;
}

std::string Conversation::AwaitText(const std::string& part) {
    Frame frame;
    while (ReadFrame(frame)) {
        if (frame.operation == kPing) SendFrame(kPong, frame.payload);
        if (frame.operation == kText && frame.payload.find(part) != std::string::npos) return frame.payload;
        if (frame.operation == kClose) break;
    }
    return {};
}

void Conversation::StayUntilHostLeaves() {
    Frame frame;
    while (ReadFrame(frame) && frame.operation != kClose) {
        if (frame.operation == kPing) SendFrame(kPong, frame.payload);
    }
}

NonsensePhone::NonsensePhone(const std::string& address, Script scriptToPlay)
    : script(std::move(scriptToPlay)) {
    listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int yes = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in where{};
    where.sin_family = AF_INET;
    where.sin_port = htons(kPhonePort);
    inet_pton(AF_INET, address.c_str(), &where.sin_addr);
    if (bind(listener, reinterpret_cast<const sockaddr*>(&where), sizeof where) != 0 ||
        listen(listener, 16) != 0) {
        std::perror(("cannot listen on " + address).c_str());
        std::abort();
    }
    acceptor = std::thread([this] { AcceptLoop(); });
}

void NonsensePhone::AcceptLoop() {
    for (;;) {
        const int accepted = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (accepted < 0) return;
        const support::MutexLock lock(mutex);
        Visit& visit = visits.emplace_back(accepted);
        if (off) visit.conversation.SwitchOff();
        ++connections;
        visit.thread = std::thread([this, &visit] {
            script(visit.conversation);
            visit.conversation.SwitchOff();
            ++ended;
        });
    }
}

NonsensePhone::~NonsensePhone() {
    shutdown(listener, SHUT_RDWR);
    {
        const support::MutexLock lock(mutex);
        off = true;
        for (Visit& visit : visits)
            visit.conversation.SwitchOff();
    }
    acceptor.join();
    close(listener);
    // The acceptor has ended: nobody else touches the list any more.
    std::list<Visit> remaining;
    {
        const support::MutexLock lock(mutex);
        remaining.swap(visits);
    }
    for (Visit& visit : remaining)
        visit.thread.join();
}

}  // namespace nonsense
