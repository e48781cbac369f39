#include "tests/fakes/webrtc/FakeTracks.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace fakes {

using vo_webrtc::voAudioData;
using vo_webrtc::voAudioTrackInterface;
using vo_webrtc::voMediaStreamInterface;
using vo_webrtc::voObject;
using vo_webrtc::voPointer;
using vo_webrtc::voVideoTrackInterface;

namespace {

class StreamBody : public voObject::BaseImpl {
public:
    StreamBody(voPointer<voVideoTrackInterface> videoTrack, voPointer<voAudioTrackInterface> audioTrack)
        : video(std::move(videoTrack)), audio(std::move(audioTrack)) {}

    void SetHook(std::function<void()> function) {
        const support::MutexLock lock(mutex);
        hook = std::move(function);
    }
    void RunHook() {
        std::function<void()> function;
        {
            const support::MutexLock lock(mutex);
            std::swap(function, hook);
        }
        if (function) function();
    }

    const voPointer<voVideoTrackInterface> video;
    const voPointer<voAudioTrackInterface> audio;

private:
    support::Mutex mutex;
    std::function<void()> hook GUARDED_BY(mutex);
};

}  // namespace

template <class Sink>
void FakeSinks<Sink>::Add(const voPointer<Sink>& sink) {
    const support::MutexLock lock(mutex);
    if (sink && std::find(sinks.begin(), sinks.end(), sink) == sinks.end()) sinks.push_back(sink);
}

template <class Sink>
void FakeSinks<Sink>::BeforeRemove(std::function<void()> function) {
    const support::MutexLock lock(mutex);
    beforeRemove = std::move(function);
}

template <class Sink>
void FakeSinks<Sink>::Remove(const voPointer<Sink>& sink) {
    std::function<void()> hook;
    {
        const support::MutexLock lock(mutex);
        hook = beforeRemove;
    }
    if (hook) hook();

    voPointer<Sink> removed;  // let go after the lock
    const support::MutexLock lock(mutex);
    const auto position = std::find(sinks.begin(), sinks.end(), sink);
    if (position == sinks.end()) return;
    removed = *position;
    sinks.erase(position);
}

template <class Sink>
bool FakeSinks<Sink>::Contains(const voPointer<Sink>& sink) const {
    const support::MutexLock lock(mutex);
    return std::find(sinks.begin(), sinks.end(), sink) != sinks.end();
}

template <class Sink>
std::vector<voPointer<Sink>> FakeSinks<Sink>::All() const {
    const support::MutexLock lock(mutex);
    return sinks;
}

template class FakeSinks<voVideoTrackInterface::Sink>;
template class FakeSinks<voAudioTrackInterface::Sink>;

voPointer<voVideoTrackInterface> MakeVideoTrack() {
    return voObject::BaseImpl::Wrap<voVideoTrackInterface>(new FakeVideoTrack);
}

voPointer<voAudioTrackInterface> MakeAudioTrack() {
    return voObject::BaseImpl::Wrap<voAudioTrackInterface>(new FakeAudioTrack);
}

voPointer<voMediaStreamInterface> MakeStream(voPointer<voVideoTrackInterface> video,
                                             voPointer<voAudioTrackInterface> audio) {
    return voObject::BaseImpl::Wrap<voMediaStreamInterface>(
        new StreamBody(std::move(video), std::move(audio)));
}

void BeforeNextTrack(const voPointer<voMediaStreamInterface>& stream, std::function<void()> function) {
    static_cast<StreamBody&>(voObject::BaseImpl::Of(*stream)).SetHook(std::move(function));
}

FakeVideoTrack& FakeVideoTrack::Of(const voPointer<voVideoTrackInterface>& track) {
    return static_cast<FakeVideoTrack&>(BaseImpl::Of(*track));
}

void FakeVideoTrack::Deliver(const vo_webrtc::voI420Frame& frame) {
    for (const auto& sink : sinks.All()) {
        if (sinks.Contains(sink)) sink->OnFrame(frame);
    }
}

FakeAudioTrack& FakeAudioTrack::Of(const voPointer<voAudioTrackInterface>& track) {
    return static_cast<FakeAudioTrack&>(BaseImpl::Of(*track));
}

bool FakeAudioTrack::IsEnabled() const {
    const support::MutexLock lock(mutex);
    return enabledHistory.empty() || enabledHistory.back();
}

std::vector<bool> FakeAudioTrack::EnabledHistory() const {
    const support::MutexLock lock(mutex);
    return enabledHistory;
}

void FakeAudioTrack::SetEnabled(bool enabled) {
    const support::MutexLock lock(mutex);
    enabledHistory.push_back(enabled);
}

void FakeAudioTrack::Deliver(const voAudioData& data) {
    voAudioData delivered = data;
    const std::vector<std::int16_t> silence(IsEnabled() ? 0 : data.frames * data.channels, 0);
    if (!IsEnabled()) delivered.samples = silence.data();
    for (const auto& sink : sinks.All()) {
        if (sinks.Contains(sink)) sink->OnData(delivered);
    }
}

}  // namespace fakes

namespace vo_webrtc {

voPointer<voVideoTrackInterface> voMediaStreamInterface::VideoTrack(std::uint64_t index) const {
    auto* const stream = static_cast<fakes::StreamBody*>(Body());
    stream->RunHook();
    return index == 0 ? stream->video : nullptr;
}

voPointer<voAudioTrackInterface> voMediaStreamInterface::AudioTrack(std::uint64_t index) const {
    auto* const stream = static_cast<fakes::StreamBody*>(Body());
    stream->RunHook();
    return index == 0 ? stream->audio : nullptr;
}

void voVideoTrackInterface::AddOrUpdateSink(voPointer<Sink> sink) {
    static_cast<fakes::FakeVideoTrack*>(Body())->sinks.Add(sink);
}

void voVideoTrackInterface::RemoveSink(voPointer<Sink> sink) {
    static_cast<fakes::FakeVideoTrack*>(Body())->sinks.Remove(sink);
}

void voAudioTrackInterface::AddSink(voPointer<Sink> sink) {
    static_cast<fakes::FakeAudioTrack*>(Body())->sinks.Add(sink);
}

void voAudioTrackInterface::RemoveSink(voPointer<Sink> sink) {
    static_cast<fakes::FakeAudioTrack*>(Body())->sinks.Remove(sink);
}

void voAudioTrackInterface::SetEnabled(bool enabled) {
    static_cast<fakes::FakeAudioTrack*>(Body())->SetEnabled(enabled);
}

}  // namespace vo_webrtc
