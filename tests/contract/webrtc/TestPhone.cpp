#include "tests/contract/webrtc/TestPhone.h"

#include <gst/sdp/sdp.h>
#include <gst/webrtc/webrtc.h>
#include <nice/nice.h>

#include <map>
#include <sstream>

namespace contract {
namespace {

// The payload type under which an offer names a codec, else a usual one.
int PayloadOf(const std::string& offer, const std::string& codec) {
    std::istringstream lines(offer);
    for (std::string line; std::getline(lines, line);) {
        int payload = 0;
        char name[32] = {};
        if (std::sscanf(line.c_str(), "a=rtpmap:%d %31[^/]", &payload, name) == 2 && codec == name)
            return payload;
    }
    static const std::map<std::string, int> usual = {
        {"H264", 102}, {"VP8", 103}, {"VP9", 104}, {"OPUS", 120}};
    return usual.at(codec);
}

std::string VideoBranch(const TestPhone::Options& options, int payload) {
    std::string encoder;
    if (options.codec == "H264") {
        encoder =
            "x264enc tune=zerolatency speed-preset=ultrafast key-int-max=30 bitrate=800 threads=1 ! "
            "video/x-h264,profile=constrained-baseline ! rtph264pay config-interval=-1 "
            "aggregate-mode=zero-latency";
    } else if (options.codec == "VP8") {
        encoder =
            "vp8enc deadline=1 cpu-used=8 keyframe-max-dist=30 target-bitrate=800000 ! rtpvp8pay "
            "picture-id-mode=2";
    } else {
        encoder =
            "vp9enc deadline=1 cpu-used=8 keyframe-max-dist=30 target-bitrate=800000 ! rtpvp9pay "
            "picture-id-mode=2";
    }
    return " videotestsrc is-live=true pattern=" + options.pattern +
           " ! video/x-raw,format=I420,width=" + std::to_string(options.width) +
           ",height=" + std::to_string(options.height) +
           ",framerate=" + std::to_string(options.framesPerSecond) + "/1 ! " + encoder +
           " pt=" + std::to_string(payload) +
           " ! application/x-rtp,media=video,encoding-name=" + options.codec +
           ",payload=" + std::to_string(payload) + " ! queue ! phone.";
}

std::string AudioBranch(const TestPhone::Options& options, int payload) {
    return " audiotestsrc is-live=true samplesperbuffer=960 volume=0.5 freq=" +
           std::to_string(options.toneHertz) +
           " ! audio/x-raw,rate=48000,channels=2 ! opusenc ! rtpopuspay pt=" + std::to_string(payload) +
           " ! application/x-rtp,media=audio,encoding-name=OPUS,payload=" + std::to_string(payload) +
           " ! queue ! phone.";
}

void UseLoopbackIfThereIsNothingElse(GstElement* webrtc) {
    GList* addresses = nice_interfaces_get_local_ips(FALSE);
    const bool others = addresses != nullptr;
    g_list_free_full(addresses, g_free);
    if (others) return;
    GObject* ice = nullptr;
    g_object_get(webrtc, "ice-agent", &ice, nullptr);
    NiceAgent* agent = nullptr;
    g_object_get(ice, "agent", &agent, nullptr);
    NiceAddress address;
    nice_address_init(&address);
    nice_address_set_from_string(&address, "127.0.0.1");
    nice_agent_add_local_address(agent, &address);
    g_object_unref(agent);
    g_object_unref(ice);
}

}  // namespace

void TestPhone::Build(const std::string& offer) {
    gst_init(nullptr, nullptr);
    std::string description = "webrtcbin name=phone bundle-policy=max-bundle latency=50";
    if (options.sendVideo) description += VideoBranch(options, PayloadOf(offer, options.codec));
    if (options.sendAudio) description += AudioBranch(options, PayloadOf(offer, "OPUS"));
    pipeline = gst_parse_launch(description.c_str(), nullptr);
    webrtc = GST_IS_PIPELINE(pipeline) ? gst_bin_get_by_name(GST_BIN(pipeline), "phone")
                                       : GST_ELEMENT(gst_object_ref(pipeline));
    UseLoopbackIfThereIsNothingElse(webrtc);
    g_signal_connect(webrtc, "on-ice-candidate",
                     G_CALLBACK(+[](GstElement*, guint line, gchar* text, gpointer self) {
                         const auto& handler = static_cast<TestPhone*>(self)->onCandidate;
                         if (handler) handler(line, text);
                     }),
                     this);
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
}

void TestPhone::Answer(const std::string& offer) {
    Build(offer);
    SetRemote(offer, true);
    g_signal_emit_by_name(webrtc, "create-answer", nullptr,
                          gst_promise_new_with_change_func(OnMade, this, nullptr));
}

void TestPhone::Offer() {
    offers = true;
    Build({});
    GArray* transceivers = nullptr;
    g_signal_emit_by_name(webrtc, "get-transceivers", &transceivers);
    for (guint index = 0; index < transceivers->len; ++index) {
        g_object_set(g_array_index(transceivers, GObject*, index), "direction",
                     GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY, nullptr);
    }
    g_array_unref(transceivers);
    g_signal_emit_by_name(webrtc, "create-offer", nullptr,
                          gst_promise_new_with_change_func(OnMade, this, nullptr));
}

void TestPhone::OnMade(GstPromise* promise, gpointer data) {
    auto* self = static_cast<TestPhone*>(data);
    if (gst_promise_wait(promise) != GST_PROMISE_RESULT_REPLIED) {
        gst_promise_unref(promise);
        return;
    }
    GstWebRTCSessionDescription* description = nullptr;
    gst_structure_get(gst_promise_get_reply(promise), self->offers ? "offer" : "answer",
                      GST_TYPE_WEBRTC_SESSION_DESCRIPTION, &description, nullptr);
    gst_promise_unref(promise);
    if (description == nullptr) return;
    gchar* text = gst_sdp_message_as_text(description->sdp);
    if (self->onDescription) self->onDescription(text);
    g_free(text);
    g_signal_emit_by_name(self->webrtc, "set-local-description", description, nullptr);
    gst_webrtc_session_description_free(description);
}

void TestPhone::SetRemote(const std::string& sdp, bool isOffer) {
    GstSDPMessage* message = nullptr;
    gst_sdp_message_new_from_text(sdp.c_str(), &message);
    GstWebRTCSessionDescription* description = gst_webrtc_session_description_new(
        isOffer ? GST_WEBRTC_SDP_TYPE_OFFER : GST_WEBRTC_SDP_TYPE_ANSWER, message);
    g_signal_emit_by_name(webrtc, "set-remote-description", description, nullptr);
    gst_webrtc_session_description_free(description);
}

void TestPhone::TakeAnswer(const std::string& answer) {
    SetRemote(answer, false);
}

void TestPhone::AddCandidate(unsigned int lineIndex, const std::string& candidate) {
    if (webrtc != nullptr) g_signal_emit_by_name(webrtc, "add-ice-candidate", lineIndex, candidate.c_str());
}

void TestPhone::Vanish() {
    if (pipeline == nullptr) return;
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(webrtc);
    gst_object_unref(pipeline);
    pipeline = webrtc = nullptr;
}

}  // namespace contract
