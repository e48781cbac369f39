// The media of one offer: a webrtcbin that answers it and then sends what the shared encoder makes. A new
// offer gets a new one. All operations and events are on the control thread; the last reference must go there
// too.
#pragma once

#include <gst/app/app.h>

#include <functional>
#include <memory>
#include <string>

#include "apps/petrel/ControlLoop.h"
#include "apps/petrel/GstHandles.h"
#include "apps/petrel/OfferPlan.h"
#include "apps/petrel/SharedEncoder.h"
#include "support/object_count.h"

namespace petrel {

struct PeerMediaEvents {
    std::function<void(const std::string& sdp)> onAnswer;  // before the first candidate
    std::function<void(const std::string& candidate, const std::string& mid, int lineIndex)> onCandidate;
    std::function<void()> onStreaming;
    std::function<void(const std::string& problem)> onFailed;  // nothing follows
};

class PeerMedia : public std::enable_shared_from_this<PeerMedia>, private support::Counted<PeerMedia> {
public:
    using Counted::Alive;

    // Begins to answer. Loop and encoder must outlive it. Null with a sentence in `error`.
    static std::shared_ptr<PeerMedia> Start(OfferPlan plan, ControlLoop& loop, SharedEncoder& encoder,
                                            PeerMediaEvents events, std::string& error);
    ~PeerMedia();

    // False when it names no section of the offer or is malformed. Candidates that come early wait for the
    // offer.
    bool AddRemoteCandidate(const std::string& candidate, const std::string& mid, int lineIndex);

private:
    struct Link;  // what GStreamer's threads hold instead of this object
    enum class Step { OfferSet, AnswerMade, AnswerSet };

    PeerMedia(OfferPlan toAnswer, ControlLoop& controlLoop, SharedEncoder& sharedEncoder,
              PeerMediaEvents toCall);
    bool Build(std::string& error);
    bool AddInput(std::size_t mediaIndex, std::string& error);
    void ConnectSignals();
    void DisconnectSignals();
    // The engine takes its own reference, and forgets it without a reply when it is closed first.
    GstHandle<GstPromise> PromiseFor(Step step);
    void OnStepDone(Step step, const std::shared_ptr<GstWebRTCSessionDescription>& description,
                    const std::string& problem);
    void OnLocalCandidate(int engineIndex, const std::string& candidate);
    void OnConnectionState(GstWebRTCPeerConnectionState state);
    void StartStreaming();
    void Fail(const std::string& problem);

    static void OnPromise(GstPromise* promise, gpointer link);
    static void OnIceCandidateSignal(GstElement* bin, guint index, gchar* text, gpointer link);
    static void OnConnectionStateSignal(GstElement* bin, GParamSpec* property, gpointer link);
    static GstBusSyncReply OnBusMessage(GstBus* bus, GstMessage* message, gpointer link);

    const OfferPlan plan;
    ControlLoop& loop;
    SharedEncoder& encoder;
    const PeerMediaEvents events;
    GstHandle<GstElement> pipeline;
    GstElement* webrtc = nullptr;  // the pipeline's
    ClientInputs inputs;           // until they are handed to the encoder
    int subscription = 0;
    bool failed = false;
};

}  // namespace petrel
