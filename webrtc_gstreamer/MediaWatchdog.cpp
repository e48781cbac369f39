#include "webrtc_gstreamer/MediaWatchdog.h"

#include <algorithm>
#include <cstdio>

namespace webrtc_gstreamer {
namespace {

std::string Seconds(std::int64_t us) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f s", static_cast<double>(us) / 1e6);
    return text;
}

const char* NameOf(MediaWatchdog::Kind kind) {
    return kind == MediaWatchdog::Kind::Picture ? "the picture" : "the sound";
}

}  // namespace

void MediaWatchdog::Rest(Track& track) {
    track.watched = false;
    track.stopped = false;
    track.negotiated = false;
    track.packetsBefore = track.seen.packets;
}

void MediaWatchdog::Expect(Kind kind, bool sends) {
    Track& track = Of(kind);
    if (track.expected == sends) return;
    track.expected = sends;
    Rest(track);
}

void MediaWatchdog::Pause(Kind kind) {
    Track& track = Of(kind);
    Rest(track);
    track.ending = true;
    track.endingSince = watchedUs;
    track.stragglerAt = watchedUs;
}

bool MediaWatchdog::StillEnding(Track& track, const Progress& progress) const {
    if (progress.packets != track.packetsBefore) track.stragglerAt = watchedUs;
    track.ending =
        watchedUs - track.stragglerAt < kStragglersUs && watchedUs - track.endingSince < kLongestStragglersUs;
    return track.ending;
}

MediaWatchdog::Findings MediaWatchdog::Look(std::int64_t nowUs, const Progress& picture,
                                            const Progress& sound, bool mayNegotiate) {
    if (looked) watchedUs += std::clamp<std::int64_t>(nowUs - lastLookUs, 0, kLongestStepUs);
    looked = true;
    lastLookUs = nowUs;
    Findings findings;
    Follow(pictureTrack, picture, findings);
    Follow(soundTrack, sound, findings);
    Notice(pictureTrack, findings);
    Notice(soundTrack, findings);
    Negotiate(mayNegotiate, findings);
    return findings;
}

void MediaWatchdog::Follow(Track& track, const Progress& progress, Findings& findings) {
    // A decoder also makes up what was lost; that is no sign of life.
    const bool decoded = progress.decoded != track.then.decoded && progress.packets != track.then.packets;
    track.seen = progress;
    if (!track.expected || (track.ending && StillEnding(track, progress))) {
        track.packetsBefore = progress.packets;
        return;
    }
    const bool begins = !track.watched && progress.packets != track.packetsBefore;
    if (!track.watched && !begins) return;
    if (track.stopped && decoded)
        findings.recoveries.push_back(std::string(NameOf(track.kind)) + " is back after " +
                                      Seconds(watchedUs - track.decodedAt));
    if (!begins && !decoded) return;
    track.watched = true;
    track.stopped = false;
    track.negotiated = false;
    track.decodedAt = watchedUs;
    track.then = progress;
}

void MediaWatchdog::Notice(Track& track, Findings& findings) {
    if (!Flows(track) || watchedUs - track.decodedAt < kNoticedAfterUs) return;
    track.stopped = true;
    const bool arrives = track.seen.packets != track.then.packets;
    std::string note = std::string(NameOf(track.kind)) + " has stopped for " +
                       Seconds(watchedUs - track.decodedAt) +
                       (arrives ? ", although packets arrive" : ", no packet arrives");
    if (track.kind == Kind::Picture) {
        note += "; asking for a key frame";
        findings.askForKeyFrame = true;
    }
    findings.troubles.push_back(std::move(note));
}

// A new negotiation interrupts the other track. One that flows is not made to suffer for a silent one more
// than once: a microphone that was taken away would cost the picture a gap again and again.
bool MediaWatchdog::IsReason(const Track& track, const Track& other) const {
    return track.stopped && watchedUs - track.decodedAt >= kNegotiatedAfterUs &&
           !(track.negotiated && Flows(other));
}

void MediaWatchdog::Negotiate(bool mayNegotiate, Findings& findings) {
    if (pictureTrack.stopped || soundTrack.stopped) {
        unsettledAt = watchedUs;
    } else if (watchedUs - unsettledAt >= kSettledAfterUs) {
        attempts = 0;
        nextAttempt = 0;
    }
    const bool picture = IsReason(pictureTrack, soundTrack);
    const bool sound = IsReason(soundTrack, pictureTrack);
    if ((!picture && !sound) || !mayNegotiate || watchedUs < nextAttempt) return;
    for (Track* track : {&pictureTrack, &soundTrack})
        track->negotiated = track->negotiated || track->stopped;
    const std::int64_t pause = kShortestPauseUs << std::min(attempts, 8);
    nextAttempt = watchedUs + std::min(pause, kLongestPauseUs);
    ++attempts;
    findings.askForNegotiation = true;
    const Track& reason = picture ? pictureTrack : soundTrack;
    findings.troubles.push_back(std::string(NameOf(reason.kind)) + " has stopped for " +
                                Seconds(watchedUs - reason.decodedAt) + "; asking for a new negotiation");
}

}  // namespace webrtc_gstreamer
