#include "webrtc_gstreamer/LossRepair.h"

#include <algorithm>

namespace webrtc_gstreamer {
namespace {

// Further back than a packet can be late: the sender counts anew.
constexpr int kFurthestBack = 1000;

}  // namespace

LossRepair::LossRepair() {
    missing.reserve(kMostMissing);
    due.reserve(kMostMissing);
}

void LossRepair::Arrived(std::uint16_t number, bool endsPicture, std::int64_t nowUs) {
    Forget(nowUs);
    knowsEnds = knowsEnds || endsPicture;
    // The nearest to the highest of the numbers that end in these 16 bits.
    const auto step = static_cast<std::int16_t>(number - static_cast<std::uint16_t>(highest));
    const std::int64_t counted = highest + step;
    if (!begun || step > static_cast<int>(kMostMissing) || step < -kFurthestBack) {
        Restart(number, nowUs);
    } else {
        const auto found = std::find_if(missing.begin(), missing.end(),
                                        [counted](const Missing& one) { return one.number == counted; });
        if (found != missing.end()) {
            TakeLate(*found, nowUs);
            missing.erase(found);
        } else if (step <= 0) {
            TakeCopy(counted);
        }
        if (step <= 0) return;
        Advance(counted, nowUs);
    }
    pictureOpen = !endsPicture;
    if (endsPicture) JudgeSilence();
}

std::optional<std::int64_t> LossRepair::NextDueUs() const {
    std::optional<std::int64_t> next;
    for (const Missing& one : missing)
        next = std::min(next.value_or(one.dueUs), one.dueUs);
    if (AwaitsSilence()) next = std::min(next.value_or(highestAtUs + silenceUs), highestAtUs + silenceUs);
    return next;
}

const std::vector<std::uint16_t>& LossRepair::Due(std::int64_t nowUs) {
    due.clear();
    if (AwaitsSilence() && nowUs >= highestAtUs + silenceUs && missing.size() < kMostMissing) {
        missing.push_back({highest + 1, nowUs, nowUs});
        silenceAsked = true;
        silentPicture = true;
    }
    GiveUp(nowUs);
    for (Missing& one : missing) {
        if (one.dueUs > nowUs) continue;
        if (MayNotAsk()) {
            one.dueUs = one.sinceUs + kBudgetUs;
            continue;
        }
        if (one.asked++ == 0) one.firstAskedUs = nowUs;
        one.dueUs = nowUs + std::max(kAskAgainUs, RoundTripUs() + ToleranceUs());
        due.push_back(static_cast<std::uint16_t>(one.number));
    }
    return due;
}

std::int64_t LossRepair::ToleranceUs() const {
    const std::int64_t longestUs = std::max(lateness.now.value_or(0), lateness.before.value_or(0));
    return std::clamp(static_cast<std::int64_t>(static_cast<double>(longestUs) * kToleranceOfLateness),
                      kShortestToleranceUs, kLongestToleranceUs);
}

// An answer has to be here in time.
void LossRepair::GiveUp(std::int64_t nowUs) {
    std::erase_if(missing, [this, nowUs](const Missing& one) {
        if (one.dueUs > nowUs || nowUs + RoundTripUs() < one.sinceUs + kBudgetUs) return false;
        if (one.asked > 0) inVain = std::min(inVain + 1, kMostInVain);
        return true;
    });
}

bool LossRepair::MayNotAsk() const {
    return inVain >= kMostInVain &&
           std::any_of(missing.begin(), missing.end(), [](const Missing& one) { return one.asked > 0; });
}

void LossRepair::Restart(std::uint16_t number, std::int64_t nowUs) {
    begun = true;
    highest = number;
    highestAtUs = nowUs;
    silenceAsked = false;
    missing.clear();
    answered.fill({});
}

// It came of itself, or it was sent again: only the former when nobody had asked.
void LossRepair::TakeLate(const Missing& late, std::int64_t nowUs) {
    if (late.asked == 0) {
        NoteLateness(nowUs - late.sinceUs);
        return;
    }
    inVain = 0;
    const std::int64_t tripUs = nowUs - late.firstAskedUs;
    roundTrip.now = std::min(roundTrip.now.value_or(tripUs), tripUs);
    answered[nextAnswered++ % answered.size()] = {late.number, nowUs - late.sinceUs, late.asked, 1};
}

void LossRepair::TakeCopy(std::int64_t number) {
    for (Answered& one : answered) {
        if (one.number == number && ++one.copies == one.asked + 1) NoteLateness(one.lateUs);
    }
}

void LossRepair::Advance(std::int64_t number, std::int64_t nowUs) {
    for (std::int64_t passed = highest + 1; passed < number; ++passed) {
        const bool known = std::any_of(missing.begin(), missing.end(),
                                       [passed](const Missing& one) { return one.number == passed; });
        if (!known && missing.size() < kMostMissing)
            missing.push_back({passed, nowUs, nowUs + ToleranceUs()});
    }
    highest = number;
    highestAtUs = nowUs;
    silenceAsked = false;
}

void LossRepair::JudgeSilence() {
    ++pictures;
    if (silentPicture) ++silentPictures;
    silentPicture = false;
    if (pictures < kPicturesJudged) return;
    silenceUs = silentPictures > kMostSilences ? std::min(silenceUs * 2, kLongestSilenceUs)
                                               : std::max(silenceUs * 3 / 4, kShortestSilenceUs);
    pictures = 0;
    silentPictures = 0;
}

void LossRepair::Forget(std::int64_t nowUs) {
    if (nowUs - rememberedSinceUs < kMemoryUs) return;
    rememberedSinceUs = nowUs;
    for (Remembered* what : {&lateness, &roundTrip}) {
        what->before = what->now;
        what->now.reset();
    }
}

void LossRepair::NoteLateness(std::int64_t lateUs) {
    lateness.now = std::max(lateness.now.value_or(0), lateUs);
}

std::int64_t LossRepair::RoundTripUs() const {
    if (!roundTrip.now) return roundTrip.before.value_or(0);
    return std::min(*roundTrip.now, roundTrip.before.value_or(*roundTrip.now));
}

bool LossRepair::AwaitsSilence() const {
    return begun && pictureOpen && knowsEnds && !silenceAsked;
}

}  // namespace webrtc_gstreamer
