// The code that a phone shows to be let in: for one phone, for ten minutes. There is always one that is
// valid.
#pragma once

#include <chrono>
#include <deque>
#include <string>
#include <string_view>

namespace petrel {

class PairingCode {
public:
    using Time = std::chrono::steady_clock::time_point;
    enum class Verdict { Right, Wrong, Used, Expired };

    static constexpr std::chrono::minutes kLifetime{10};
    // Nothing that is mistaken for another: no I, O, 0 or 1.
    static constexpr std::string_view kAlphabet = "ABCDEFGHJKLMNPQRSTUVWXYZ23456789";

    explicit PairingCode(Time now) { Renew(now); }

    const std::string& Text() const { return code; }  // "ABCD-2345"
    std::chrono::seconds Left(Time now) const;

    // Without regard to case, blanks and hyphens. The right one stays valid until Use().
    Verdict Check(std::string_view typed, Time now);
    void Use(Time now);
    void Renew(Time now);             // the operator wants another one
    bool RenewWhenExpired(Time now);  // true when it was

private:
    struct Former {
        std::string letters;
        Verdict verdict;
    };
    void Retire(Verdict verdict);

    std::string code;
    std::string letters;
    Time ends;
    std::deque<Former> formerCodes;  // the last few, so that a refusal can say what is wrong
};

}  // namespace petrel
