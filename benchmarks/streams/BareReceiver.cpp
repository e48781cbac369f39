#include "benchmarks/streams/BareReceiver.h"

#include <gst/video/video.h>

#include <cstdio>
#include <nlohmann/json.hpp>

#include "apps/petrel/IceSetup.h"
#include "apps/petrel/SdpFields.h"
#include "host/network/cWebSocket.h"
#include "tests/e2e/petrel/CreatedOffer.h"

namespace benchmarks {
namespace {

using nlohmann::json;
using petrel::GstHandle;

constexpr const char* kSession = "bare";
constexpr const char* kVideoCaps =
    "application/x-rtp,media=video,encoding-name=H264,clock-rate=90000,payload=96,"
    "packetization-mode=(string)1,profile-level-id=(string)42e034";
constexpr const char* kAudioCaps =
    "application/x-rtp,media=audio,encoding-name=OPUS,clock-rate=48000,payload=111,"
    "encoding-params=(string)2";
constexpr const char* kVideoBranch =
    "decodebin name=in ! videoconvert ! video/x-raw,format=UYVY ! appsink name=out sync=false";
constexpr const char* kAudioBranch =
    "decodebin name=in ! audioconvert ! audioresample ! audio/x-raw,format=S16LE,rate=48000,channels=2 ! "
    "appsink name=out sync=false";
constexpr const char* kOnlyDecoding = "decodebin name=in ! appsink name=out sync=false";

void AddReceiving(GstElement* webrtc, const char* capsText) {
    const GstHandle<GstCaps> caps(gst_caps_from_string(capsText));
    GstObject* transceiver = nullptr;
    g_signal_emit_by_name(webrtc, "add-transceiver", GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY,
                          caps.get(), &transceiver);
    if (transceiver != nullptr) gst_object_unref(transceiver);
}

}  // namespace

BareReceiver::BareReceiver(const std::string& address, Work wanted)
    : work(wanted), pipeline(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr)))) {
    webrtc = gst_element_factory_make("webrtcbin", nullptr);
    gst_util_set_object_arg(G_OBJECT(webrtc), "bundle-policy", "max-bundle");
    gst_bin_add(GST_BIN(pipeline.get()), webrtc);
    petrel::PrepareIceAgent(webrtc);
    g_signal_connect(webrtc, "pad-added", G_CALLBACK(OnPadAdded), this);
    g_signal_connect(webrtc, "on-ice-candidate", G_CALLBACK(OnCandidate), this);
    AddReceiving(webrtc, kVideoCaps);
    AddReceiving(webrtc, kAudioCaps);
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);

    socket = cWebSocket::Factory();
    socket->onOpen = [this](const auto&) {
        Send(json{{"action", "joinMaster"}, {"ownerKey", ""}, {"sessionGuid", kSession}, {"username", "Bare"}}
                 .dump());
    };
    socket->onMessage = [this](const char* text) { OnMessage(text); };
    socket->onError = [](cWebSocket::Error error) {
        std::fprintf(stderr, "bare_receiver: no connection (%d)\n", static_cast<int>(error));
    };
    socket->onClose = [](std::optional<cWebSocket::Error>, bool) {};
    socket->open(("ws://" + address + ":9001/").c_str(), 5.0);
}

BareReceiver::~BareReceiver() {
    socket->close();
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
}

void BareReceiver::Send(const std::string& text) {
    socket->send(text.c_str());
}

// On the network thread, which waits for the engine here: nobody else needs it meanwhile.
void BareReceiver::OnMessage(const std::string& text) {
    const json message = json::parse(text, nullptr, false);
    if (!message.is_object()) return;
    const std::string action = message.value("action", std::string());
    if (action == "peerJoined") {
        {
            const support::MutexLock lock(mutex);
            phone = message.value("peersIdentifier", std::string());
        }
        Offer();
    }
    if (action == "gotAnswer") SetAnswer(message.value("sdp", std::string()));
    if (action == "ice") {
        g_signal_emit_by_name(webrtc, "add-ice-candidate",
                              static_cast<guint>(message.value("sdpMLineIndex", 0)),
                              message.value("sdp", std::string()).c_str());
    }
}

void BareReceiver::Offer() {
    const GstHandle<GstWebRTCSessionDescription> offer = tests::CreateOffer(webrtc);
    const GstHandle<gchar> text(gst_sdp_message_as_text(offer->sdp));
    {
        const support::MutexLock lock(mutex);
        Send(json{{"action", "masterMadeOffer"},
                  {"peersIdentifier", phone},
                  {"sdp", text.get()},
                  {"sessionGuid", kSession},
                  {"type", "offer"}}
                 .dump());
    }
    g_signal_emit_by_name(webrtc, "set-local-description", offer.get(), nullptr);
}

void BareReceiver::SetAnswer(const std::string& sdp) {
    GstHandle<GstSDPMessage> parsed = petrel::ParseSdp(sdp);
    if (parsed == nullptr) return;
    const GstHandle<GstWebRTCSessionDescription> answer(
        gst_webrtc_session_description_new(GST_WEBRTC_SDP_TYPE_ANSWER, parsed.release()));
    g_signal_emit_by_name(webrtc, "set-remote-description", answer.get(), nullptr);
}

void BareReceiver::OnCandidate(GstElement*, guint index, gchar* text, gpointer data) {
    auto* const self = static_cast<BareReceiver*>(data);
    const support::MutexLock lock(self->mutex);
    self->Send(json{
        {"action", "ice"},
        {"peersIdentifier", self->phone},
        {"sdp", text},
        {"sdpMLineIndex", std::to_string(index)},
        {"sdpMid", ""},
        {"sessionGuid",
         kSession}}.dump());
}

void BareReceiver::OnPadAdded(GstElement*, GstPad* pad, gpointer data) {
    auto* const self = static_cast<BareReceiver*>(data);
    const GstHandle<GstCaps> caps(gst_pad_get_current_caps(pad));
    const std::string media =
        petrel::TextOf(gst_structure_get_string(gst_caps_get_structure(caps.get(), 0), "media"));
    const bool video = media == "video";
    const bool converts = self->work == Work::Convert;
    const char* const converting = video ? kVideoBranch : kAudioBranch;
    GstElement* const branch =
        gst_parse_bin_from_description(converts ? converting : kOnlyDecoding, FALSE, nullptr);
    const GstHandle<GstAppSink> out(GST_APP_SINK(gst_bin_get_by_name(GST_BIN(branch), "out")));
    GstAppSinkCallbacks callbacks{};
    const auto onPicture = converts ? OnPicture : OnDecodedPicture;
    callbacks.new_sample = video ? onPicture : OnSound;
    gst_app_sink_set_callbacks(out.get(), &callbacks, self, nullptr);
    const GstHandle<GstElement> first(gst_bin_get_by_name(GST_BIN(branch), "in"));
    const GstHandle<GstPad> entrance(gst_element_get_static_pad(first.get(), "sink"));
    GstPad* const input = gst_ghost_pad_new("sink", entrance.get());
    gst_element_add_pad(branch, input);
    gst_bin_add(GST_BIN(self->pipeline.get()), branch);
    gst_element_sync_state_with_parent(branch);
    if (gst_pad_link(pad, input) != GST_PAD_LINK_OK)
        std::fprintf(stderr, "bare_receiver: the %s cannot be linked\n", media.c_str());
}

GstFlowReturn BareReceiver::OnPicture(GstAppSink* sink, gpointer data) {
    const std::int64_t nowUs = NowUs();
    const GstHandle<GstSample> sample(gst_app_sink_pull_sample(sink));
    if (sample == nullptr) return GST_FLOW_EOS;
    GstVideoInfo info;
    GstVideoFrame frame;
    if (gst_video_info_from_caps(&info, gst_sample_get_caps(sample.get())) == FALSE) return GST_FLOW_OK;
    if (gst_video_frame_map(&frame, &info, gst_sample_get_buffer(sample.get()), GST_MAP_READ) == FALSE)
        return GST_FLOW_OK;
    static_cast<BareReceiver*>(data)->watch.OnPicture(
        {info.width, info.height, static_cast<const std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0)),
         GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0)},
        nowUs);
    gst_video_frame_unmap(&frame);
    return GST_FLOW_OK;
}

GstFlowReturn BareReceiver::OnDecodedPicture(GstAppSink* sink, gpointer data) {
    const GstHandle<GstSample> sample(gst_app_sink_pull_sample(sink));
    if (sample == nullptr) return GST_FLOW_EOS;
    static_cast<BareReceiver*>(data)->watch.OnPicture({}, NowUs());
    return GST_FLOW_OK;
}

GstFlowReturn BareReceiver::OnSound(GstAppSink* sink, gpointer) {
    const GstHandle<GstSample> sample(gst_app_sink_pull_sample(sink));
    return sample == nullptr ? GST_FLOW_EOS : GST_FLOW_OK;
}

}  // namespace benchmarks
