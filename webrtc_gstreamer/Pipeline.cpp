#include "webrtc_gstreamer/Pipeline.h"

#include <nice/agent.h>

#include <array>
#include <string_view>
#include <utility>

#include "webrtc_gstreamer/Crossing.h"
#include "webrtc_gstreamer/DirectPath.h"
#include "webrtc_gstreamer/Engine.h"
#include "webrtc_gstreamer/FactoryName.h"
#include "webrtc_gstreamer/FeedbackPace.h"
#include "webrtc_gstreamer/Log.h"
#include "webrtc_gstreamer/LossRepair.h"
#include "webrtc_gstreamer/PacketRequests.h"
#include "webrtc_gstreamer/Promise.h"
#include "webrtc_gstreamer/ReceiveBuffers.h"
#include "webrtc_gstreamer/RelayRelease.h"

namespace webrtc_gstreamer {
namespace {

// Only the budget for repairing losses: a picture that arrives whole is not held back.
constexpr unsigned int kJitterLatencyMs = LossRepair::kBudgetUs / 1000;
// A stream begins with so many packets in a row instead of waiting for that budget first, in case one that it
// has not seen was overtaken. Key pictures take more, so that a picture loses no time.
constexpr unsigned int kFirstPackets = 3;
// With the defaults, feedback leaves too late for retransmission and bandwidth estimation to work.
constexpr double kRtcpBandwidth = 50e6;
// Between two connectivity checks; the shortest that RFC 8445, section 14.2 allows.
constexpr unsigned int kIcePacingMs = 5;

// webrtcbin's own handler, which ran before, may have asked the jitter buffer for requests; not in a bundle.
void OnNewJitterBuffer(GstElement*, GstElement* jitterBuffer, guint, guint, gpointer) {
    g_object_set(jitterBuffer, "do-retransmission", FALSE, nullptr);
    RequestLostPackets(jitterBuffer);
}

void OnElementAdded(GstBin*, GstBin*, GstElement* element, gpointer) {
    const std::string_view name = FactoryNameOf(element);
    if (name == "rtpjitterbuffer") {
        g_object_set(element, "faststart-min-packets", kFirstPackets, nullptr);
    } else if (name == "rtpsession") {
        g_object_set(element, "bandwidth", kRtcpBandwidth, nullptr);
        PaceFeedback(element);
    } else if (name == "queue") {
        LeadPacketsPast(element);
    }
}

// Nobody reads the bus, so that nothing may pile up on it.
GstBusSyncReply OnMessage(GstBus*, GstMessage* message, gpointer) {
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
        GError* error = nullptr;
        gst_message_parse_error(message, &error, nullptr);
        LogError(std::string(GST_MESSAGE_SRC_NAME(message)) + ": " +
                 (error != nullptr ? error->message : ""));
        g_clear_error(&error);
    }
    gst_message_unref(message);
    return GST_BUS_DROP;
}

// Null when this version of webrtcbin has another.
ObjectPointer IceAgent(GstElement* webrtc) {
    GObject* ice = nullptr;
    g_object_get(webrtc, "ice-agent", &ice, nullptr);
    const ObjectPointer ownedIce(ice);
    GObject* agent = nullptr;
    if (ice != nullptr) g_object_get(ice, "agent", &agent, nullptr);
    return ObjectPointer(agent);
}

std::string ErrorIn(const GstStructure* reply) {
    if (reply == nullptr || gst_structure_has_field(reply, "error") == FALSE) return {};
    GError* error = nullptr;
    gst_structure_get(reply, "error", G_TYPE_ERROR, &error, nullptr);
    const std::string text = error != nullptr ? error->message : "unknown error";
    g_clear_error(&error);
    return text;
}

}  // namespace

std::unique_ptr<Pipeline> Pipeline::Make(const std::vector<IceServer>& servers, const ReceivingTracks& tracks,
                                         Reports reports) {
    if (!EnsureEngine()) return nullptr;
    std::unique_ptr<Pipeline> made(new Pipeline);
    made->tracks = tracks;
    made->reports = std::move(reports);
    if (!made->Build(servers)) return nullptr;
    return made;
}

bool Pipeline::Build(const std::vector<IceServer>& servers) {
    pipeline.reset(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr))));
    webrtc = gst_element_factory_make("webrtcbin", nullptr);
    if (webrtc == nullptr) return false;
    g_object_set(webrtc, "bundle-policy", GST_WEBRTC_BUNDLE_POLICY_MAX_BUNDLE, "latency", kJitterLatencyMs,
                 nullptr);
    g_signal_connect(pipeline.get(), "deep-element-added", G_CALLBACK(OnElementAdded), nullptr);
    gst_bin_add(GST_BIN(pipeline.get()), webrtc);
    const ElementPointer rtpbin(gst_bin_get_by_name(GST_BIN(webrtc), "rtpbin"));
    if (rtpbin) {
        g_signal_connect_after(rtpbin.get(), "new-jitterbuffer", G_CALLBACK(OnNewJitterBuffer), nullptr);
        HearGoodbyes(rtpbin.get());
    }
    const BusPointer bus(gst_element_get_bus(pipeline.get()));
    gst_bus_set_sync_handler(bus.get(), OnMessage, nullptr, nullptr);
    SetUpIce(servers);
    Connect();
    if (gst_element_set_state(pipeline.get(), GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE) return true;
    LogError("the pipeline of a peer connection cannot start");
    return false;
}

void Pipeline::SetUpIce(const std::vector<IceServer>& servers) {
    const ObjectPointer ownedAgent = IceAgent(webrtc);
    if (!ownedAgent) {
        LogError("the ICE agent cannot be reached");
        return;
    }
    NiceAgent* const agent = NICE_AGENT(ownedAgent.get());
    g_object_set(agent, "ice-tcp", FALSE, "upnp", FALSE, "keepalive-conncheck", TRUE, "stun-pacing-timer",
                 kIcePacingMs, nullptr);
    EnlargeReceiveBuffers(*agent);
    if (OnlyLoopbackIsUp()) {
        // Loopback is skipped when gathering; an address added here replaces the automatic list.
        NiceAddress address;
        nice_address_init(&address);
        if (nice_address_set_from_string(&address, "127.0.0.1") != FALSE)
            nice_agent_add_local_address(agent, &address);
    }
    for (const IceServer& server : servers) {
        const auto url = ParseIceServerUrl(server.url);
        const std::string address = url ? AddressOf(url->host) : std::string();
        if (!url || address.empty()) {
            LogWarning(std::string("an ICE server is left out: ") +
                       (url ? url->host + " has no address" : "bad URL"));
            continue;
        }
        if (url->scheme.starts_with("stun")) {
            g_object_set(webrtc, "stun-server", StunUri(*url, address).c_str(), nullptr);
        } else {
            gboolean added = FALSE;
            g_signal_emit_by_name(webrtc, "add-turn-server", TurnUri(*url, address, server).c_str(), &added);
            mayHaveRelays = true;
        }
    }
}

Pipeline::~Pipeline() {
    if (!pipeline) return;
    {
        const support::MutexLock lock(mutex);
        ending = true;
    }
    if (webrtc != nullptr) g_signal_handlers_disconnect_by_data(webrtc, this);
    if (mayHaveRelays) {
        if (const ObjectPointer agent = IceAgent(webrtc)) ReleaseRelays(*NICE_AGENT(agent.get()));
    }
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    const Crossing crossing;
}

Pipeline::Made Pipeline::Create(const char* signal, const char* field) {
    Promise promise;
    g_signal_emit_by_name(webrtc, signal, nullptr, promise.Get());
    StructurePointer reply;
    if (promise.Wait(reply) != Promise::Outcome::Answered) return {nullptr, "no answer"};
    Made made{nullptr, ErrorIn(reply.get())};
    if (!made.error.empty()) return made;
    GstWebRTCSessionDescription* description = nullptr;
    if (reply)
        gst_structure_get(reply.get(), field, GST_TYPE_WEBRTC_SESSION_DESCRIPTION, &description, nullptr);
    made.description.reset(description);
    if (!made.description) made.error = std::string("there is no ") + field;
    return made;
}

std::optional<std::string> Pipeline::Set(const char* signal, const GstWebRTCSessionDescription& description) {
    Promise promise;
    g_signal_emit_by_name(webrtc, signal, &description, promise.Get());
    StructurePointer reply;
    const Promise::Outcome outcome = promise.Wait(reply);
    if (outcome == Promise::Outcome::TimedOut) return "no answer in time";
    // Success is an empty answer.
    const std::string error = ErrorIn(reply.get());
    if (!error.empty()) return error;
    return std::nullopt;
}

void Pipeline::AddTransceiver(GstWebRTCRTPTransceiverDirection direction, GstCaps* caps) {
    GstWebRTCRTPTransceiver* transceiver = nullptr;
    g_signal_emit_by_name(webrtc, "add-transceiver", direction, caps, &transceiver);
    if (transceiver != nullptr) gst_object_unref(transceiver);
}

void Pipeline::AddIceCandidate(const Candidate& candidate) {
    g_signal_emit_by_name(webrtc, "add-ice-candidate", candidate.lineIndex, candidate.text.c_str());
}

StructurePointer Pipeline::Statistics() {
    Promise promise;
    g_signal_emit_by_name(webrtc, "get-stats", nullptr, promise.Get());
    StructurePointer reply;
    promise.Wait(reply);
    return reply;
}

std::uint32_t Pipeline::ConnectionState() const {
    GstWebRTCPeerConnectionState state = GST_WEBRTC_PEER_CONNECTION_STATE_NEW;
    g_object_get(webrtc, "connection-state", &state, nullptr);
    return static_cast<std::uint32_t>(state);
}

std::uint32_t Pipeline::GatheringState() const {
    GstWebRTCICEGatheringState state = GST_WEBRTC_ICE_GATHERING_STATE_NEW;
    g_object_get(webrtc, "ice-gathering-state", &state, nullptr);
    return static_cast<std::uint32_t>(state);
}

}  // namespace webrtc_gstreamer
