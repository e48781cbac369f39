#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace webrtc_gstreamer {

// Notices that media has stopped although the connection stands (an encoder that hangs, a frozen camera, a
// lost key frame), and says what to ask the other side for: a key frame first, then a new negotiation. A rule
// on counts and times; it has no clock and no thread of its own.
class MediaWatchdog {
public:
    static constexpr std::int64_t kNoticedAfterUs = 1'500'000;
    // Without success of the key frame.
    static constexpr std::int64_t kNegotiatedAfterUs = 3'500'000;
    // Between negotiations that bring nothing: each pause is twice the one before.
    static constexpr std::int64_t kShortestPauseUs = 4'000'000;
    static constexpr std::int64_t kLongestPauseUs = 60'000'000;
    // Media that has flowed for so long lets the pauses begin anew.
    static constexpr std::int64_t kSettledAfterUs = 10'000'000;
    // Looks that are further apart prove nothing: this process stood still.
    static constexpr std::int64_t kLongestStepUs = 500'000;
    // Packets that were under way when the other side said goodbye to the stream: they are over after so long
    // without one. What still comes later than that is a stream that goes on.
    static constexpr std::int64_t kStragglersUs = 500'000;
    static constexpr std::int64_t kLongestStragglersUs = 5'000'000;

    enum class Kind { Picture, Sound };

    // Of one track since its beginning; never falls.
    struct Progress {
        std::int64_t packets = 0;
        std::int64_t decoded = 0;  // pictures, or pieces of sound
    };

    struct Findings {
        std::vector<std::string> troubles;    // one sentence for each step, without an end mark
        std::vector<std::string> recoveries;  // the same for media that is back
        bool askForKeyFrame = false;
        bool askForNegotiation = false;
    };

    // Whether the descriptions say that the other side sends this. It is watched from its first packet on.
    void Expect(Kind kind, bool sends);
    // The other side has ended the stream on purpose; it is watched again once packets come again.
    void Pause(Kind kind);

    // To be called a few times a second. No negotiation is asked for unless it may be.
    Findings Look(std::int64_t nowUs, const Progress& picture, const Progress& sound, bool mayNegotiate);

private:
    struct Track {
        explicit Track(Kind ofKind) : kind(ofKind) {}
        const Kind kind;
        bool expected = false;
        bool watched = false;
        Progress seen;
        std::int64_t packetsBefore = 0;  // that do not count as a beginning
        bool ending = false;             // by a goodbye; stragglers may come
        std::int64_t endingSince = 0;
        std::int64_t stragglerAt = 0;  // the last one, or the goodbye
        std::int64_t decodedAt = 0;
        Progress then;  // at that time
        bool stopped = false;
        bool negotiated = false;  // since it stopped
    };

    Track& Of(Kind kind) { return kind == Kind::Picture ? pictureTrack : soundTrack; }
    void Rest(Track& track);
    bool StillEnding(Track& track, const Progress& progress) const;
    void Follow(Track& track, const Progress& progress, Findings& findings);
    void Notice(Track& track, Findings& findings);
    void Negotiate(bool mayNegotiate, Findings& findings);
    bool IsReason(const Track& track, const Track& other) const;
    static bool Flows(const Track& track) { return track.watched && !track.stopped; }

    Track pictureTrack{Kind::Picture};
    Track soundTrack{Kind::Sound};
    // Time in which this process ran; what follows is measured by it.
    std::int64_t watchedUs = 0;
    std::int64_t lastLookUs = 0;
    bool looked = false;
    int attempts = 0;
    std::int64_t nextAttempt = 0;
    std::int64_t unsettledAt = 0;
};

}  // namespace webrtc_gstreamer
