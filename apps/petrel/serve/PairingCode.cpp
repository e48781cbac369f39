#include "apps/petrel/serve/PairingCode.h"

#include <algorithm>

#include "apps/petrel/serve/Secrets.h"

namespace petrel {
namespace {

constexpr std::size_t kLetters = 8;
constexpr std::size_t kLongestInput = 64;
constexpr std::size_t kFormerCodes = 16;

std::string LettersOf(std::string_view typed) {
    std::string letters;
    for (const char c : typed.substr(0, kLongestInput)) {
        if (c == ' ' || c == '-' || c == '\t') continue;
        letters.push_back(c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c);
    }
    return letters;
}

}  // namespace

std::chrono::seconds PairingCode::Left(Time now) const {
    return std::max(std::chrono::seconds(0), std::chrono::duration_cast<std::chrono::seconds>(ends - now));
}

PairingCode::Verdict PairingCode::Check(std::string_view typed, Time now) {
    RenewWhenExpired(now);
    const std::string given = LettersOf(typed);
    // No code at all when the random source failed: then nothing is right.
    if (!letters.empty() && EqualsInConstantTime(given, letters)) return Verdict::Right;
    for (const Former& former : formerCodes)
        if (EqualsInConstantTime(given, former.letters)) return former.verdict;
    return Verdict::Wrong;
}

void PairingCode::Use(Time now) {
    Retire(Verdict::Used);
    Renew(now);
}

void PairingCode::Renew(Time now) {
    Retire(Verdict::Expired);
    letters = RandomOf(kAlphabet, kLetters);
    code = letters.empty() ? std::string() : letters.substr(0, 4) + "-" + letters.substr(4);
    ends = now + kLifetime;
}

bool PairingCode::RenewWhenExpired(Time now) {
    if (now < ends) return false;
    Renew(now);
    return true;
}

void PairingCode::Retire(Verdict verdict) {
    if (letters.empty()) return;
    formerCodes.push_front({letters, verdict});
    if (formerCodes.size() > kFormerCodes) formerCodes.pop_back();
    letters.clear();
}

}  // namespace petrel
