#include "tests/faults/link/Link.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <optional>
#include <utility>

namespace faults {
namespace {

constexpr std::int64_t kUsPerSecond = 1'000'000;
constexpr std::int64_t kNsPerUs = 1000;

std::int64_t NowUs() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

}  // namespace

Link::Link(std::unique_ptr<TunDevice> a, std::unique_ptr<TunDevice> b, std::uint64_t seed)
    : ends{End{std::move(a), LinkQueue(seed)}, End{std::move(b), LinkQueue(seed + 1)}} {}

void Link::Run() {
    std::array<pollfd, 3> waited{};
    waited[0] = {STDIN_FILENO, POLLIN, 0};
    for (std::size_t index = 0; index < ends.size(); ++index)
        waited[index + 1] = {ends[index].device->Descriptor(), POLLIN, 0};
    while (true) {
        MovePackets();
        std::optional<std::int64_t> dueUs;
        for (const End& end : ends) {
            const auto due = end.sent.NextDueUs();
            if (due && (!dueUs || *due < *dueUs)) dueUs = due;
        }
        timespec timeout{};
        if (dueUs) {
            const std::int64_t waitUs = std::max<std::int64_t>(0, *dueUs - NowUs());
            timeout = {waitUs / kUsPerSecond, waitUs % kUsPerSecond * kNsPerUs};
        }
        if (ppoll(waited.data(), waited.size(), dueUs ? &timeout : nullptr, nullptr) < 0 && errno != EINTR)
            return;
        if (waited[0].revents != 0 && !ReadCommands()) return;
    }
}

void Link::MovePackets() {
    for (End& end : ends) {
        while (std::optional<Packet> packet = end.device->Read())
            end.sent.Put(std::move(*packet), NowUs());
    }
    for (std::size_t index = 0; index < ends.size(); ++index) {
        while (const std::optional<Packet> packet = ends[index].sent.Take(NowUs())) {
            if (!ends[1 - index].device->Write(*packet)) ++refused;
        }
    }
}

bool Link::ReadCommands() {
    std::array<char, 4096> buffer;
    const ssize_t bytes = read(STDIN_FILENO, buffer.data(), buffer.size());
    if (bytes <= 0) return bytes < 0 && errno == EINTR;
    input.append(buffer.data(), static_cast<std::size_t>(bytes));
    std::size_t end = 0;
    while ((end = input.find('\n')) != std::string::npos) {
        std::printf("%s\n", Obey(input.substr(0, end)).c_str());
        input.erase(0, end + 1);
    }
    return true;
}

std::string Link::Obey(const std::string& line) {
    if (line == "counts") return CountsText();
    const bool onlyA = line.starts_with("a ");
    const bool onlyB = line.starts_with("b ");
    const std::string command = onlyA || onlyB ? line.substr(2) : line;
    for (std::size_t index = 0; index < ends.size(); ++index) {
        if ((onlyA && index == 1) || (onlyB && index == 0)) continue;
        Conditions changed = ends[index].sent.Now();
        if (!Apply(command, changed)) return "bad: " + line;
        ends[index].sent.Change(changed);
    }
    return "ok";
}

std::string Link::CountsText() const {
    std::string text;
    for (std::size_t index = 0; index < ends.size(); ++index) {
        const LinkQueue::Counts& counts = ends[index].sent.Counted();
        char part[256];
        std::snprintf(part, sizeof part,
                      "%c taken=%lld lost=%lld overflow=%lld delivered=%lld latestUs=%lld ",
                      index == 0 ? 'a' : 'b', static_cast<long long>(counts.taken),
                      static_cast<long long>(counts.lost), static_cast<long long>(counts.overflow),
                      static_cast<long long>(counts.delivered), static_cast<long long>(counts.latestUs));
        text += part;
    }
    return text + "refused=" + std::to_string(refused);
}

}  // namespace faults
