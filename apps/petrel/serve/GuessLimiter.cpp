#include "apps/petrel/serve/GuessLimiter.h"

#include <arpa/inet.h>

#include <algorithm>

namespace petrel {
namespace {

constexpr int kMostDoublings = 16;

std::chrono::seconds Until(std::chrono::steady_clock::time_point when,
                           std::chrono::steady_clock::time_point now) {
    if (when <= now) return std::chrono::seconds(0);
    return std::chrono::ceil<std::chrono::seconds>(when - now);
}

}  // namespace

std::chrono::seconds GuessLimiter::WaitOf(const std::string& address, Time now) const {
    std::chrono::seconds wait = Until(ofAll.mayTryAt, now);
    const auto found = ofAddress.find(GuesserOf(address));
    if (found != ofAddress.end()) wait = std::max(wait, Until(found->second.mayTryAt, now));
    return wait;
}

void GuessLimiter::Failed(const std::string& address, Time now) {
    MakeRoom(now);
    Count(ofAddress[GuesserOf(address)], kFreeOfAnAddress, kLongestOfAnAddress, now);
    Count(ofAll, kFreeOfAll, kLongestOfAll, now);
}

void GuessLimiter::Succeeded(const std::string& address) {
    ofAddress.erase(GuesserOf(address));
}

void GuessLimiter::Count(Record& record, int free, std::chrono::seconds longest, Time now) {
    if (record.failures > 0 && now - record.last >= kForgottenAfter) record = {};
    ++record.failures;
    record.last = now;
    if (record.failures < free) return;
    const int doublings = std::min(record.failures - free, kMostDoublings);
    record.mayTryAt = now + std::min(std::chrono::seconds(1LL << doublings), longest);
}

void GuessLimiter::MakeRoom(Time now) {
    std::erase_if(ofAddress, [now](const auto& entry) { return now - entry.second.last >= kForgottenAfter; });
    while (ofAddress.size() >= kMostAddresses) {
        ofAddress.erase(
            std::min_element(ofAddress.begin(), ofAddress.end(),
                             [](const auto& a, const auto& b) { return a.second.last < b.second.last; }));
    }
}

std::string GuesserOf(const std::string& address) {
    in6_addr parsed{};
    if (inet_pton(AF_INET6, address.c_str(), &parsed) != 1) return address;
    std::fill(std::begin(parsed.s6_addr) + 8, std::end(parsed.s6_addr), std::uint8_t{0});
    char text[INET6_ADDRSTRLEN] = {};
    inet_ntop(AF_INET6, &parsed, text, sizeof text);
    return text;
}

}  // namespace petrel
