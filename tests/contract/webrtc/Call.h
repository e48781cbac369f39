// One peer connection of the library with a recording observer and sinks, and a phone at its far end.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/annotated_mutex.h"
#include "tests/contract/webrtc/TestPhone.h"
#include "webrtc/voPeerConnectionFactoryInterface.h"

namespace contract {

using namespace vo_webrtc;

inline constexpr auto kPatience = std::chrono::seconds(20);

// What happened, in order; tests wait for it.
class Record {
public:
    struct Entry {
        std::string what;
        std::string text;
        std::string type;
    };

    void Add(std::string what, std::string text = {}, std::string type = {});
    // The first entry of this kind, or nothing when it does not come in time.
    std::optional<Entry> WaitFor(const std::string& what);
    bool WaitUntil(const std::function<bool(const std::vector<Entry>&)>& condition);
    std::vector<Entry> All();
    std::size_t Count(const std::string& what);

private:
    support::Mutex mutex;
    support::Condition changed;
    std::vector<Entry> entries GUARDED_BY(mutex);
};

class VideoSink : public voVideoTrackInterface::Sink {
public:
    explicit VideoSink(std::function<void(const voI420Frame&)> handleFrame)
        : Sink(Delete), handle(std::move(handleFrame)) {}
    void OnFrame(const voI420Frame& frame) override { handle(frame); }

private:
    const std::function<void(const voI420Frame&)> handle;
};

class AudioSink : public voAudioTrackInterface::Sink {
public:
    explicit AudioSink(std::function<void(const voAudioData&)> handleData)
        : Sink(Delete), handle(std::move(handleData)) {}
    void OnData(const voAudioData& data) override { handle(data); }

private:
    const std::function<void(const voAudioData&)> handle;
};

class StatsReader : public voPeerConnectionInterface::StatsObserver {
public:
    explicit StatsReader(std::function<void(const voStats&)> handleStats)
        : StatsObserver(Delete), handle(std::move(handleStats)) {}
    void OnStatsDelivered(const voStats& stats) override { handle(stats); }

private:
    const std::function<void(const voStats&)> handle;
};

class Call {
public:
    explicit Call(TestPhone::Options options = {});
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    // Begins again with a new peer connection that uses these ICE servers.
    void Reconnect(const voStunServer* servers, std::int32_t count);
    // Makes the offer and lets the phone answer it.
    void Connect();
    // Lets the phone make the offer, and answers it.
    void ConnectByOfferOfPhone();
    // Waits for pictures until there are this many; false when they do not come.
    bool WaitForPictures(int count);
    // The stream, once it has arrived; null when it does not.
    voPointer<voMediaStreamInterface> WaitForStream();
    // Releases the library's side.
    void Release();
    void Note(std::string what, std::string text = {}, std::string type = {});

    Record record;
    TestPhone phone;
    voPointer<voPeerConnectionFactoryInterface> factory;
    voPointer<voPeerConnectionInterface> connection;
    // What to do with the phone's description; unset: hand it to the library as an answer.
    std::function<void(const std::string& sdp)> onPhoneDescription;
    // Called on the library's thread after each observer call was recorded.
    std::function<void(const std::string& what)> onEvent;
    std::atomic<bool> forwardsCandidates{true};
    std::atomic<bool> phoneAnswers{true};

private:
    class Observer;
    voPointer<voPeerConnectionInterface> Connection();
    voPointer<voMediaStreamInterface> Stream();

    support::Mutex mutex;
    voPointer<voPeerConnectionInterface> linked GUARDED_BY(mutex);
    voPointer<voMediaStreamInterface> stream GUARDED_BY(mutex);
    std::atomic<bool> answering{false};
};

}  // namespace contract
