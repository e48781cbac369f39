// Remote streams and tracks made by tests.
#pragma once

#include <functional>
#include <vector>

#include "support/annotated_mutex.h"
#include "tests/fakes/webrtc/FakeBody.h"
#include "webrtc/voAudioTrackInterface.h"
#include "webrtc/voMediaStreamInterface.h"
#include "webrtc/voPointer.h"
#include "webrtc/voVideoTrackInterface.h"

namespace fakes {

vo_webrtc::voPointer<vo_webrtc::voVideoTrackInterface> MakeVideoTrack();
vo_webrtc::voPointer<vo_webrtc::voAudioTrackInterface> MakeAudioTrack();
// Either track may be null.
vo_webrtc::voPointer<vo_webrtc::voMediaStreamInterface> MakeStream(
    vo_webrtc::voPointer<vo_webrtc::voVideoTrackInterface> video,
    vo_webrtc::voPointer<vo_webrtc::voAudioTrackInterface> audio);
// Runs once, when the stream is next asked for a track, before it answers.
void BeforeNextTrack(const vo_webrtc::voPointer<vo_webrtc::voMediaStreamInterface>& stream,
                     std::function<void()> function);

// The sinks of one track. As the library has to: adding and removing are idempotent and may happen inside a
// delivery, and no lock is held while a sink is called.
template <class Sink>
class FakeSinks {
public:
    void Add(const vo_webrtc::voPointer<Sink>& sink);
    void Remove(const vo_webrtc::voPointer<Sink>& sink);
    bool Contains(const vo_webrtc::voPointer<Sink>& sink) const;
    std::vector<vo_webrtc::voPointer<Sink>> All() const;
    // Runs at the beginning of each Remove, on its thread.
    void BeforeRemove(std::function<void()> function);

private:
    mutable support::Mutex mutex;
    std::vector<vo_webrtc::voPointer<Sink>> sinks GUARDED_BY(mutex);
    std::function<void()> beforeRemove GUARDED_BY(mutex);
};

// Library side of a video track; valid as long as the track.
class FakeVideoTrack : public vo_webrtc::voObject::BaseImpl {
public:
    static FakeVideoTrack& Of(const vo_webrtc::voPointer<vo_webrtc::voVideoTrackInterface>& track);

    std::size_t SinkCount() const { return sinks.All().size(); }
    void Deliver(const vo_webrtc::voI420Frame& frame);

    FakeSinks<vo_webrtc::voVideoTrackInterface::Sink> sinks;
};

// Library side of an audio track. While it is disabled, sinks get silence in place of the samples.
class FakeAudioTrack : public vo_webrtc::voObject::BaseImpl {
public:
    static FakeAudioTrack& Of(const vo_webrtc::voPointer<vo_webrtc::voAudioTrackInterface>& track);

    std::size_t SinkCount() const { return sinks.All().size(); }
    bool IsEnabled() const;
    // Every argument of SetEnabled so far.
    std::vector<bool> EnabledHistory() const;
    void Deliver(const vo_webrtc::voAudioData& data);

    void SetEnabled(bool enabled);
    FakeSinks<vo_webrtc::voAudioTrackInterface::Sink> sinks;

private:
    mutable support::Mutex mutex;
    std::vector<bool> enabledHistory GUARDED_BY(mutex);
};

}  // namespace fakes
