// The threads of the WebRTC wrapper, for the peer connections of the fake one: "vo-connection" threads that
// answer requests and call observers, one at a time per peer connection; threads that deliver pictures, one
// at a time per track; "vo-playout", which delivers sound; one that writes the library's log.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>

#include "support/annotated_mutex.h"
#include "tests/fakes/webrtc/FakeWebRtc.h"
#include "tests/stress/ActionCounts.h"
#include "tests/stress/Dice.h"
#include "tests/stress/PacedThread.h"
#include "tests/stress/Shelf.h"

namespace stress {

class LibraryThreads {
public:
    LibraryThreads(std::uint64_t seed, ActionCounts& actionCounts);
    ~LibraryThreads();
    LibraryThreads(const LibraryThreads&) = delete;
    LibraryThreads& operator=(const LibraryThreads&) = delete;

private:
    using VideoTrack = vo_webrtc::voPointer<vo_webrtc::voVideoTrackInterface>;
    using AudioTrack = vo_webrtc::voPointer<vo_webrtc::voAudioTrackInterface>;
    static constexpr std::size_t kConnectionThreads = 4;
    static constexpr std::size_t kPictureThreads = 2;

    // One peer connection as its thread sees it.
    struct Peer {
        std::shared_ptr<fakes::FakePeerConnection> record;
        vo_webrtc::voPointer<vo_webrtc::voMediaStreamInterface> stream;
        VideoTrack video;
        AudioTrack audio;
        std::size_t pictureThread = 0;
    };

    void Adopt(std::shared_ptr<fakes::FakePeerConnection> record);
    void RunConnections(PacedThread& self, std::size_t index, Dice dice);
    void RunPictures(PacedThread& self, std::size_t index, Dice dice);
    void RunPlayout(PacedThread& self, Dice dice);
    void RunLog(PacedThread& self);
    void Serve(Peer& peer, Dice& dice);
    void Report(Peer& peer, Dice& dice);
    void NewStream(Peer& peer, Dice& dice);
    void DropStream(Peer& peer);

    ActionCounts& counts;
    std::atomic<std::size_t> nextThread{0};
    std::array<Shelf<std::shared_ptr<fakes::FakePeerConnection>>, kConnectionThreads> newPeers;
    std::array<Shelf<VideoTrack>, kPictureThreads> videoTracks;
    Shelf<AudioTrack> audioTracks;
    std::deque<PacedThread> threads;
};

}  // namespace stress
