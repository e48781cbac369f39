#include "apps/halyard/InputReader.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <utility>

namespace halyard {
namespace {

constexpr std::size_t kPieceBytes = 4096;

}  // namespace

InputReader::InputReader(int inputDescriptor, Receiver inputReceiver)
    : input(inputDescriptor), receiver(std::move(inputReceiver)), wakeUp(eventfd(0, EFD_CLOEXEC)) {
    thread = std::thread([this] { Run(); });
}

InputReader::~InputReader() {
    ending = true;
    Wake();
    thread.join();
    close(wakeUp);
}

void InputReader::ReadOn() {
    Wake();
}

void InputReader::Wake() const {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(wakeUp, &one, sizeof one);
}

void InputReader::Run() {
    pthread_setname_np(pthread_self(), "input");
    bool mayRead = true;
    while (!ending) {
        std::array<pollfd, 2> watched{{{wakeUp, POLLIN, 0}, {mayRead ? input : -1, POLLIN, 0}}};
        if (poll(watched.data(), watched.size(), -1) < 0) continue;
        if (watched[0].revents != 0) {
            std::uint64_t count = 0;
            [[maybe_unused]] const ssize_t taken = read(wakeUp, &count, sizeof count);
            mayRead = true;
            continue;
        }
        if (watched[1].revents == 0) continue;
        std::optional<std::string> piece = ReadPiece();
        if (!piece) continue;
        const bool atEnd = piece->empty();
        receiver(std::move(*piece));
        if (atEnd) return;
        mayRead = false;
    }
}

// Empty at the end, and for a descriptor that cannot be read (any more); nothing when another reader was
// quicker.
std::optional<std::string> InputReader::ReadPiece() const {
    std::string piece(kPieceBytes, '\0');
    ssize_t count = 0;
    do {
        count = read(input, piece.data(), piece.size());
    } while (count < 0 && errno == EINTR);
    if (count < 0 && errno == EAGAIN) return std::nullopt;
    piece.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return piece;
}

}  // namespace halyard
