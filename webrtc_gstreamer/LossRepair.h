// Which packets of a stream of pictures to ask the sender for again, and when. A rule on sequence numbers and
// times; it has no clock and no thread of its own.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace webrtc_gstreamer {

class LossRepair {
public:
    // What is not here by then is given up; the jitter buffer waits no longer either.
    static constexpr std::int64_t kBudgetUs = 100'000;
    // Between two requests for the same packet, at least. Requests and answers are lost like everything else.
    static constexpr std::int64_t kAskAgainUs = 10'000;
    // How long a packet that others have overtaken is waited for: at least so long, because what comes late
    // of itself can be told from an answer only before the request; half as long again as was seen, because
    // the next one may come later; and not so long that no time remains for the repair.
    static constexpr std::int64_t kShortestToleranceUs = 3'000;
    static constexpr double kToleranceOfLateness = 1.5;
    static constexpr std::int64_t kLongestToleranceUs = 50'000;
    // How long a link's habits are remembered: so long at least, twice that at most.
    static constexpr std::int64_t kMemoryUs = 2'000'000;
    // A picture whose packets stop for so long before its last one. Senders pace in steps of 5 ms.
    static constexpr std::int64_t kShortestSilenceUs = 8'000;
    static constexpr std::int64_t kLongestSilenceUs = 64'000;
    // More than a quarter of the pictures with such a silence: that is how packets come here, not a loss.
    static constexpr int kPicturesJudged = 32;
    static constexpr int kMostSilences = 8;
    // More at once are an outage, after which only a key picture helps.
    static constexpr std::size_t kMostMissing = 128;

    // So many packets one after the other that were asked for and not here in time: the answers come too
    // late, and only fill the link. One at a time is asked for then, once, until one comes in time.
    static constexpr int kMostInVain = 32;

    LossRepair();

    // A packet, maybe not for the first time; `endsPicture` when it is the last of its picture.
    void Arrived(std::uint16_t number, bool endsPicture, std::int64_t nowUs);
    // When Due may have something to ask for; nothing while nothing is missing.
    std::optional<std::int64_t> NextDueUs() const;
    // The numbers to ask for now; valid until the next call.
    const std::vector<std::uint16_t>& Due(std::int64_t nowUs);

    std::int64_t ToleranceUs() const;
    std::int64_t SilenceUs() const { return silenceUs; }

private:
    struct Missing {
        std::int64_t number;
        std::int64_t sinceUs;  // that it was passed by a later one, or by silence
        std::int64_t dueUs;
        std::int64_t firstAskedUs = 0;
        int asked = 0;
    };
    // A packet that came after it had been asked for. When it comes more often than that, the first was only
    // late.
    struct Answered {
        std::int64_t number = -1;
        std::int64_t lateUs = 0;
        int asked = 0;
        int copies = 0;
    };
    // The extreme of what was seen in this stretch of time and in the one before.
    struct Remembered {
        std::optional<std::int64_t> now;
        std::optional<std::int64_t> before;
    };

    void GiveUp(std::int64_t nowUs);
    bool MayNotAsk() const;
    void Restart(std::uint16_t number, std::int64_t nowUs);
    void TakeLate(const Missing& late, std::int64_t nowUs);
    void TakeCopy(std::int64_t number);
    void Advance(std::int64_t number, std::int64_t nowUs);
    void JudgeSilence();
    void Forget(std::int64_t nowUs);
    void NoteLateness(std::int64_t lateUs);
    std::int64_t RoundTripUs() const;
    bool AwaitsSilence() const;

    bool begun = false;
    std::int64_t highest = 0;  // numbers are counted on beyond 16 bits
    std::int64_t highestAtUs = 0;
    bool pictureOpen = false;   // more of the latest picture is to come
    bool knowsEnds = false;     // this sender marks the last packet of a picture
    bool silenceAsked = false;  // for the packet behind `highest`
    bool silentPicture = false;
    int pictures = 0;
    int silentPictures = 0;
    std::int64_t silenceUs = kShortestSilenceUs;

    std::vector<Missing> missing;
    int inVain = 0;
    std::array<Answered, 64> answered{};
    std::size_t nextAnswered = 0;
    Remembered lateness;   // the greatest
    Remembered roundTrip;  // the smallest
    std::int64_t rememberedSinceUs = 0;
    std::vector<std::uint16_t> due;
};

}  // namespace webrtc_gstreamer
