// Writes down what was refused, but not all of a flood.
#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace petrel {

class RefusalLog {
public:
    using Time = std::chrono::steady_clock::time_point;
    using Write = std::function<void(const std::string& line)>;

    static constexpr int kLinesInAPeriod = 20;
    static constexpr std::chrono::seconds kPeriod{10};

    explicit RefusalLog(Write toCall) : write(std::move(toCall)) {}

    void Add(const std::string& address, const std::string& reason, Time now);
    void Tick(Time now);  // tells how many were left out, when their period is over

private:
    const Write write;
    Time begin;
    int lines = 0;
    long leftOut = 0;
};

}  // namespace petrel
