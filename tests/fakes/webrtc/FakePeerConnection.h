// What one peer connection was asked to do, and its far side for tests.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "support/annotated_mutex.h"
#include "webrtc/voPeerConnectionFactoryInterface.h"

namespace fakes {

// Never null; its texts live as long as the candidate.
vo_webrtc::voPointer<vo_webrtc::voIceCandidateInterface> MakeIceCandidate(std::string sdp, std::string sdpMid,
                                                                          std::string sdpMLineIndex);

struct FakeIceServer {
    std::string url;
    std::string username;
    std::string password;
    friend bool operator==(const FakeIceServer&, const FakeIceServer&) = default;
};

struct FakeDescription {
    std::string sdp;
    std::string type;
    friend bool operator==(const FakeDescription&, const FakeDescription&) = default;
};

struct FakeCandidate {
    std::string sdp;
    std::string sdpMid;
    std::int32_t sdpMLineIndex = 0;
    friend bool operator==(const FakeCandidate&, const FakeCandidate&) = default;
};

class FakePeerConnection {
public:
    using Observer = vo_webrtc::voPeerConnectionInterface::Observer;
    using StatsObserver = vo_webrtc::voPeerConnectionInterface::StatsObserver;

    FakePeerConnection(std::vector<FakeIceServer> servers, bool encrypt)
        : iceServers(std::move(servers)), encryptMedia(encrypt) {}

    // The arguments of CreatePeerConnection.
    const std::vector<FakeIceServer> iceServers;
    const bool encryptMedia;

    // True until the last reference goes; the observer is let go with it.
    bool IsReferenced() const;

    // Names of the operations called, in order: "SetObserver", "CreateOffer", ... with the label of a track
    // behind a blank: "CreateVideoTrack VideoTrack". CreateLocalMediaStream names the tracks that it got.
    std::vector<std::string> Calls() const;
    int CountOfCalls(const std::string& name) const;
    // The operations called since the last call.
    std::vector<std::string> TakeCalls();
    std::vector<FakeDescription> RemoteDescriptions() const;
    std::vector<FakeCandidate> Candidates() const;

    // Null when detached. Kept by a test, it can be called although the library would not do so any more.
    vo_webrtc::voPointer<Observer> CurrentObserver() const;

    // Play the library. False when no observer is attached.
    bool OfferCreated(const char* sdp, const char* type);
    bool AnswerCreated(const char* sdp, const char* type);
    bool CandidateGathered(std::string sdp, std::string sdpMid, std::string sdpMLineIndex);
    bool AddStream(vo_webrtc::voPointer<vo_webrtc::voMediaStreamInterface> stream);
    bool RemoveStream(vo_webrtc::voPointer<vo_webrtc::voMediaStreamInterface> stream);
    bool RenegotiationNeeded();
    bool Fail(const char* error);
    bool ChangeIceConnection(std::uint32_t state);
    bool ChangeIceGathering(std::uint32_t state);
    bool ChangeSignaling(std::uint32_t state);

    // Answers the oldest open GetStats; false when there is none. Those that are open when the peer
    // connection goes are answered with zeros.
    bool DeliverStats(const vo_webrtc::voStats& stats);
    std::size_t OpenStatsRequests() const;

    // The library's side of the operations.
    void Record(std::string call);
    void Attach(vo_webrtc::voPointer<Observer> newObserver);
    void RecordRemoteDescription(FakeDescription description);
    void RecordCandidate(FakeCandidate candidate);
    void RequestStats(vo_webrtc::voPointer<StatsObserver> statsObserver);
    void LastReferenceGone();

private:
    mutable support::Mutex mutex;
    bool referenced GUARDED_BY(mutex) = true;
    std::vector<std::string> calls GUARDED_BY(mutex);
    std::size_t taken GUARDED_BY(mutex) = 0;
    std::vector<FakeDescription> remoteDescriptions GUARDED_BY(mutex);
    std::vector<FakeCandidate> candidates GUARDED_BY(mutex);
    vo_webrtc::voPointer<Observer> observer GUARDED_BY(mutex);
    std::deque<vo_webrtc::voPointer<StatsObserver>> statsRequests GUARDED_BY(mutex);
};

// The library object that tells `record` what it is asked to do.
vo_webrtc::voPointer<vo_webrtc::voPeerConnectionInterface> WrapPeerConnection(
    std::shared_ptr<FakePeerConnection> record);

}  // namespace fakes
