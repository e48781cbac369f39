// A WebRTC wrapper without an engine: it remembers what was asked of it, and tests play the far side.
// Nothing happens by itself; callbacks run on the thread that plays them, with no lock held.
//
//   auto peer = fakes::FakeWebRtc::LatestPeerConnection();   // made by the code under test
//   peer->OfferCreated("v=0", "offer");                      // fires the observer
//   peer->AddStream(fakes::MakeStream(video, audio));
//   fakes::FakeVideoTrack::Of(video).Deliver(frame);         // reaches the sinks
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/fakes/webrtc/FakePeerConnection.h"
#include "tests/fakes/webrtc/FakeTracks.h"
#include "webrtc/voDebug.h"

namespace fakes {

class FakeWebRtc {
public:
    struct LogSetting {
        bool hasSink = false;
        vo_webrtc::voDebug::LogLevel level = vo_webrtc::voDebug::LogLevel::None;
    };

    // Library bodies that are still referenced, those of observers and sinks included. For leak checks.
    static std::int64_t LivingObjects();

    // Since the last Forget(), oldest first. A record outlives the peer connection that it tells of.
    static std::vector<std::shared_ptr<FakePeerConnection>> PeerConnections();
    static std::shared_ptr<FakePeerConnection> LatestPeerConnection();  // null when none was made

    // Told of each peer connection that is made, on the thread that makes it.
    static void WhenPeerConnectionMade(std::function<void(std::shared_ptr<FakePeerConnection>)> function);

    static int FactoriesMade();
    static int FactoriesMadeWithADevice();
    static int AudioDevicesMade();
    static int VideoTrackSourcesMade();

    // From now on the library answers with null.
    static void RefuseFactories();
    static void RefusePeerConnections();

    // The calls of voDebug::SetLogging, and one line of the library's log for the sink that is set.
    static std::vector<LogSetting> LogSettings();
    static void WriteLogLine(const char* line);

    // Calls of voColorspaceConverter::I420ToUYVY that returned 0.
    static int FramesConverted();
    // Runs at the beginning of each conversion, on its thread.
    static void BeforeConversion(std::function<void()> function);

    // Forgets records, refusals, hooks and the log sink.
    static void Forget();
};

}  // namespace fakes
