#include "tests/contract/webrtc/Call.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>

#include "webrtc_gstreamer/LivingObjects.h"

namespace contract {

void Record::Add(std::string what, std::string text, std::string type) {
    const support::MutexLock lock(mutex);
    entries.push_back({std::move(what), std::move(text), std::move(type)});
    changed.NotifyAll();
}

bool Record::WaitUntil(const std::function<bool(const std::vector<Entry>&)>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    const support::MutexLock lock(mutex);
    while (!condition(entries)) {
        if (!changed.WaitUntil(mutex, deadline)) return condition(entries);
    }
    return true;
}

std::optional<Record::Entry> Record::WaitFor(const std::string& what) {
    std::optional<Entry> result;
    WaitUntil([&result, &what](const std::vector<Entry>& all) {
        const auto found =
            std::find_if(all.begin(), all.end(), [&what](const Entry& entry) { return entry.what == what; });
        if (found != all.end()) result = *found;
        return result.has_value();
    });
    return result;
}

std::vector<Record::Entry> Record::All() {
    const support::MutexLock lock(mutex);
    return entries;
}

std::size_t Record::Count(const std::string& what) {
    const auto all = All();
    return static_cast<std::size_t>(
        std::count_if(all.begin(), all.end(), [&what](const Entry& entry) { return entry.what == what; }));
}

class Call::Observer : public voPeerConnectionInterface::Observer {
public:
    explicit Observer(Call& owner) : voPeerConnectionInterface::Observer(Delete), call(owner) {}

    void OnAddStream(voPointer<voMediaStreamInterface> added) override {
        {
            const support::MutexLock lock(call.mutex);
            call.stream = added;
        }
        call.Note("stream");
    }
    void OnFailure(const char* error) override { call.Note("failure", error != nullptr ? error : ""); }
    void OnIceCandidate(voPointer<voIceCandidateInterface> candidate) override {
        call.Note("candidate", candidate->Sdp(), candidate->SdpMid());
        if (call.answering && call.forwardsCandidates) {
            call.phone.AddCandidate(static_cast<unsigned int>(std::stoul(candidate->SdpMLineIndex())),
                                    candidate->Sdp());
        }
    }
    void OnOfferCreated(const char* sdp, const char* type) override {
        call.Note("offer", sdp, type);
        if (!call.answering || !call.phoneAnswers) return;
        call.phone.Answer(sdp);
    }
    void OnAnswerCreated(const char* sdp, const char* type) override {
        call.Note("answer", sdp, type);
        call.phone.TakeAnswer(sdp);
        call.Note("taken");
    }
    void OnIceConnectionChange(std::uint32_t state) override { call.Note("ice", std::to_string(state)); }
    void OnIceGatheringChange(std::uint32_t state) override { call.Note("gathering", std::to_string(state)); }
    void OnSignalingChange(std::uint32_t state) override { call.Note("signaling", std::to_string(state)); }
    void OnRenegotiationNeeded() override { call.Note("negotiation"); }

private:
    Call& call;
};

Call::Call(TestPhone::Options options) : phone(std::move(options)) {
    factory = voPeerConnectionFactoryInterface::Create(voCustomAudioDevice::Create());
    if (factory) Reconnect(nullptr, 0);
    phone.onDescription = [this](const std::string& sdp) {
        if (onPhoneDescription) return onPhoneDescription(sdp);
        if (const auto target = Connection()) target->SetRemoteDescription(sdp.c_str(), "answer");
    };
    phone.onCandidate = [this](unsigned int line, const std::string& candidate) {
        if (!forwardsCandidates) return;
        if (const auto target = Connection())
            target->AddIceCandidate(candidate.c_str(), "", static_cast<std::int32_t>(line));
    };
}

void Call::Reconnect(const voStunServer* servers, std::int32_t count) {
    if (connection) connection->SetObserver(nullptr);
    connection = factory->CreatePeerConnection(servers, count, true);
    if (!connection) return;
    connection->SetObserver(new Observer(*this));
    voPointer<voPeerConnectionInterface> old;
    const support::MutexLock lock(mutex);
    old = std::exchange(linked, connection);
}

Call::~Call() {
    if (testing::Test::HasFailure()) {
        constexpr std::size_t kShown = 120;
        for (const Record::Entry& entry : record.All())
            std::cerr << "  " << entry.what << " " << entry.type << " " << entry.text.substr(0, kShown)
                      << "\n";
    }
    phone.Vanish();
    Release();
    // A call that has begun may still be on its way through the observer.
    webrtc_gstreamer::WaitUntilIdle(10'000);
}

voPointer<voPeerConnectionInterface> Call::Connection() {
    const support::MutexLock lock(mutex);
    return linked;
}

void Call::Note(std::string what, std::string text, std::string type) {
    record.Add(what, std::move(text), std::move(type));
    if (onEvent) onEvent(what);
}

void Call::ConnectByOfferOfPhone() {
    answering = true;
    onPhoneDescription = [this](const std::string& sdp) {
        connection->SetRemoteDescription(sdp.c_str(), "offer");
        connection->CreateAnswer();
        // As fast as an answer can be.
        record.WaitFor("taken");
    };
    phone.Offer();
}

bool Call::WaitForPictures(int count) {
    const auto added = WaitForStream();
    if (!added || !added->VideoTrack(0)) return false;
    // A call that has begun may outlast the removal.
    struct Count {
        Record pictures;
        std::atomic<int> remaining;
    };
    const auto state = std::make_shared<Count>();
    state->remaining = count;
    const voPointer<voVideoTrackInterface::Sink> sink(new VideoSink([state](const voI420Frame&) {
        if (--state->remaining == 0) state->pictures.Add("enough");
    }));
    added->VideoTrack(0)->AddOrUpdateSink(sink);
    const bool enough = state->pictures.WaitFor("enough").has_value();
    added->VideoTrack(0)->RemoveSink(sink);
    return enough;
}

void Call::Connect() {
    answering = true;
    connection->CreateOffer();
}

voPointer<voMediaStreamInterface> Call::WaitForStream() {
    record.WaitFor("stream");
    return Stream();
}

voPointer<voMediaStreamInterface> Call::Stream() {
    const support::MutexLock lock(mutex);
    return stream;
}

void Call::Release() {
    if (connection) connection->SetObserver(nullptr);
    voPointer<voPeerConnectionInterface> oldLinked;
    voPointer<voMediaStreamInterface> oldStream;
    {
        const support::MutexLock lock(mutex);
        oldLinked = std::exchange(linked, nullptr);
        oldStream = std::exchange(stream, nullptr);
    }
    connection = nullptr;
    factory = nullptr;
}

}  // namespace contract
