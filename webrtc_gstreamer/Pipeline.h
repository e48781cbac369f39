#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/annotated_mutex.h"
#include "webrtc_gstreamer/GstPointers.h"
#include "webrtc_gstreamer/IceServer.h"
#include "webrtc_gstreamer/Receiver.h"

namespace webrtc_gstreamer {

// One webrtcbin in a pipeline of its own. All operations belong to one worker thread and wait for webrtcbin's
// answer, which comes from its own thread. Destroyed on the worker too, never on a thread of GStreamer's.
class Pipeline {
public:
    struct Candidate {
        unsigned int lineIndex = 0;
        std::string text;
    };

    // What webrtcbin reports, on its own threads; each only copies and posts.
    struct Reports {
        std::function<void(Candidate)> candidate;
        std::function<void(std::uint32_t)> iceConnectionState;
        std::function<void(std::uint32_t)> iceGatheringState;
        std::function<void(std::uint32_t)> signalingState;
        std::function<void()> negotiationNeeded;
        std::function<void(std::string)> failure;
        // A receiver whose stream has ended; to be handed to RemoveReceiver on the worker.
        std::function<void(ElementPointer)> receiverEnded;
        // The sender has ended this stream on purpose.
        std::function<void(std::uint32_t ssrc)> goodbye;
    };

    // Null when GStreamer cannot make it.
    static std::unique_ptr<Pipeline> Make(const std::vector<IceServer>& servers,
                                          const ReceivingTracks& tracks, Reports reports);
    ~Pipeline();
    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;

    // The description, or the reason why there is none.
    struct Made {
        SessionDescriptionPointer description;
        std::string error;
    };
    Made CreateOffer() { return Create("create-offer", "offer"); }
    Made CreateAnswer() { return Create("create-answer", "answer"); }

    // Nothing on success, else the reason.
    std::optional<std::string> SetLocalDescription(const GstWebRTCSessionDescription& description) {
        return Set("set-local-description", description);
    }
    std::optional<std::string> SetRemoteDescription(const GstWebRTCSessionDescription& description) {
        return Set("set-remote-description", description);
    }
    void AddTransceiver(GstWebRTCRTPTransceiverDirection direction, GstCaps* caps);
    void AddIceCandidate(const Candidate& candidate);
    void RemoveReceiver(GstElement* receiver);
    // Of every picture that is received.
    void RequestKeyFrames();

    // Null when webrtcbin does not answer.
    StructurePointer Statistics();
    std::uint32_t ConnectionState() const;
    std::uint32_t GatheringState() const;

private:
    Pipeline() = default;
    bool Build(const std::vector<IceServer>& servers);
    void SetUpIce(const std::vector<IceServer>& servers);
    void Connect();
    void HearGoodbyes(GstElement* rtpbin);
    Made Create(const char* signal, const char* field);
    std::optional<std::string> Set(const char* signal, const GstWebRTCSessionDescription& description);

    static void OnPadAdded(GstElement* bin, GstPad* pad, gpointer self);
    static void OnPadRemoved(GstElement* bin, GstPad* pad, gpointer self);

    ReceivingTracks tracks;
    Reports reports;
    ElementPointer pipeline;
    GstElement* webrtc = nullptr;  // owned by the pipeline
    bool mayHaveRelays = false;

    // Held while a receiver is added, so that the end waits for it.
    support::Mutex mutex;
    bool ending GUARDED_BY(mutex) = false;
    std::map<GstPad*, GstElement*> receivers GUARDED_BY(mutex);  // owned by the pipeline
};

}  // namespace webrtc_gstreamer
