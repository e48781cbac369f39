// Makes guessing slow: after a few wrong codes, each further one from the same address has to wait twice as
// long, and so, later and less, has everybody.
#pragma once

#include <chrono>
#include <map>
#include <string>

namespace petrel {

class GuessLimiter {
public:
    using Time = std::chrono::steady_clock::time_point;

    static constexpr int kFreeOfAnAddress = 5;
    static constexpr int kFreeOfAll = 30;
    static constexpr std::chrono::seconds kLongestOfAnAddress{900};
    static constexpr std::chrono::seconds kLongestOfAll{30};
    static constexpr std::chrono::minutes kForgottenAfter{30};
    static constexpr std::size_t kMostAddresses = 1024;

    // How long this address still has to wait; zero when it may try now. Asking costs nothing.
    std::chrono::seconds WaitOf(const std::string& address, Time now) const;
    void Failed(const std::string& address, Time now);
    void Succeeded(const std::string& address);

private:
    struct Record {
        int failures = 0;
        Time last;
        Time mayTryAt;
    };
    static void Count(Record& record, int free, std::chrono::seconds longest, Time now);
    void MakeRoom(Time now);

    std::map<std::string, Record> ofAddress;
    Record ofAll;
};

// What counts as one address: of IPv6 the network of 64 bits, all of which one host may use.
std::string GuesserOf(const std::string& address);

}  // namespace petrel
