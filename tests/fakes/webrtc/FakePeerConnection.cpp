#include "tests/fakes/webrtc/FakePeerConnection.h"

#include <algorithm>
#include <utility>

namespace fakes {

using vo_webrtc::voMediaStreamInterface;
using vo_webrtc::voPointer;

bool FakePeerConnection::IsReferenced() const {
    const support::MutexLock lock(mutex);
    return referenced;
}

std::vector<std::string> FakePeerConnection::Calls() const {
    const support::MutexLock lock(mutex);
    return calls;
}

int FakePeerConnection::CountOfCalls(const std::string& name) const {
    const support::MutexLock lock(mutex);
    return static_cast<int>(std::count(calls.begin(), calls.end(), name));
}

std::vector<std::string> FakePeerConnection::TakeCalls() {
    const support::MutexLock lock(mutex);
    std::vector<std::string> fresh(calls.begin() + static_cast<std::ptrdiff_t>(taken), calls.end());
    taken = calls.size();
    return fresh;
}

std::vector<FakeDescription> FakePeerConnection::RemoteDescriptions() const {
    const support::MutexLock lock(mutex);
    return remoteDescriptions;
}

std::vector<FakeCandidate> FakePeerConnection::Candidates() const {
    const support::MutexLock lock(mutex);
    return candidates;
}

voPointer<FakePeerConnection::Observer> FakePeerConnection::CurrentObserver() const {
    const support::MutexLock lock(mutex);
    return observer;
}

bool FakePeerConnection::OfferCreated(const char* sdp, const char* type) {
    const voPointer<Observer> current = CurrentObserver();
    if (current) current->OnOfferCreated(sdp, type);
    return static_cast<bool>(current);
}

bool FakePeerConnection::AnswerCreated(const char* sdp, const char* type) {
    const voPointer<Observer> current = CurrentObserver();
    if (current) current->OnAnswerCreated(sdp, type);
    return static_cast<bool>(current);
}

bool FakePeerConnection::CandidateGathered(std::string sdp, std::string sdpMid, std::string sdpMLineIndex) {
    const voPointer<Observer> current = CurrentObserver();
    if (current) {
        current->OnIceCandidate(
            MakeIceCandidate(std::move(sdp), std::move(sdpMid), std::move(sdpMLineIndex)));
    }
    return static_cast<bool>(current);
}

bool FakePeerConnection::AddStream(voPointer<voMediaStreamInterface> stream) {
    const voPointer<Observer> current = CurrentObserver();
    if (current) current->OnAddStream(std::move(stream));
    return static_cast<bool>(current);
}

bool FakePeerConnection::RemoveStream(voPointer<voMediaStreamInterface> stream) {
    const voPointer<Observer> current = CurrentObserver();
    if (current) current->OnRemoveStream(std::move(stream));
    return static_cast<bool>(current);
}

bool FakePeerConnection::RenegotiationNeeded() {
    const voPointer<Observer> current = CurrentObserver();
    if (current) current->OnRenegotiationNeeded();
    return static_cast<bool>(current);
}

bool FakePeerConnection::Fail(const char* error) {
    const voPointer<Observer> current = CurrentObserver();
    if (current) current->OnFailure(error);
    return static_cast<bool>(current);
}

bool FakePeerConnection::ChangeIceConnection(std::uint32_t state) {
    const voPointer<Observer> current = CurrentObserver();
    if (current) current->OnIceConnectionChange(state);
    return static_cast<bool>(current);
}

bool FakePeerConnection::ChangeIceGathering(std::uint32_t state) {
    const voPointer<Observer> current = CurrentObserver();
    if (current) current->OnIceGatheringChange(state);
    return static_cast<bool>(current);
}

bool FakePeerConnection::ChangeSignaling(std::uint32_t state) {
    const voPointer<Observer> current = CurrentObserver();
    if (current) current->OnSignalingChange(state);
    return static_cast<bool>(current);
}

bool FakePeerConnection::DeliverStats(const vo_webrtc::voStats& stats) {
    voPointer<StatsObserver> request;
    {
        const support::MutexLock lock(mutex);
        if (statsRequests.empty()) return false;
        request = std::move(statsRequests.front());
        statsRequests.pop_front();
    }
    request->OnStatsDelivered(stats);
    return true;
}

std::size_t FakePeerConnection::OpenStatsRequests() const {
    const support::MutexLock lock(mutex);
    return statsRequests.size();
}

void FakePeerConnection::Record(std::string call) {
    const support::MutexLock lock(mutex);
    calls.push_back(std::move(call));
}

void FakePeerConnection::Attach(voPointer<Observer> newObserver) {
    const support::MutexLock lock(mutex);
    calls.emplace_back(newObserver ? "SetObserver" : "SetObserver null");
    std::swap(observer, newObserver);
}

void FakePeerConnection::RecordRemoteDescription(FakeDescription description) {
    const support::MutexLock lock(mutex);
    calls.emplace_back("SetRemoteDescription");
    remoteDescriptions.push_back(std::move(description));
}

void FakePeerConnection::RecordCandidate(FakeCandidate candidate) {
    const support::MutexLock lock(mutex);
    calls.emplace_back("AddIceCandidate");
    candidates.push_back(std::move(candidate));
}

void FakePeerConnection::RequestStats(voPointer<StatsObserver> statsObserver) {
    const support::MutexLock lock(mutex);
    calls.emplace_back("GetStats");
    statsRequests.push_back(std::move(statsObserver));
}

void FakePeerConnection::LastReferenceGone() {
    voPointer<Observer> released;
    {
        const support::MutexLock lock(mutex);
        referenced = false;
        std::swap(released, observer);
    }
    while (DeliverStats({})) {
    }
}

}  // namespace fakes
