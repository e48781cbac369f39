#include "tests/e2e/petrel/TestReceiver.h"

#include <gst/video/video.h>

#include <nlohmann/json.hpp>
#include <utility>

#include "apps/petrel/IceSetup.h"
#include "apps/petrel/OfferPlan.h"
#include "apps/petrel/SdpFields.h"
#include "tests/e2e/petrel/CreatedOffer.h"

namespace tests {
namespace {

using nlohmann::json;
using petrel::GstHandle;

std::uint64_t NowUs() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

void AddReceiving(GstElement* webrtc, const char* capsText) {
    const GstHandle<GstCaps> caps(gst_caps_from_string(capsText));
    GstObject* transceiver = nullptr;
    g_signal_emit_by_name(webrtc, "add-transceiver", GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY,
                          caps.get(), &transceiver);
    const GstHandle<GstObject> owned(transceiver);
    g_object_set(transceiver, "do-nack", TRUE, nullptr);
}

// Otherwise the first picture waits for the whole budget of the jitter buffer.
void OnElementAdded(GstBin*, GstBin*, GstElement* element, gpointer) {
    const GstElementFactory* factory = gst_element_get_factory(element);
    if (factory != nullptr && g_strcmp0(GST_OBJECT_NAME(factory), "rtpjitterbuffer") == 0) {
        g_object_set(element, "faststart-min-packets", 1U, nullptr);
    }
}

}  // namespace

TestReceiver::TestReceiver(const std::string& videoFormat, std::string phonesIdentifier, Sender toPhone)
    : identifier(std::move(phonesIdentifier)), send(std::move(toPhone)), format(videoFormat) {
    const support::MutexLock lock(
        mutex);  // GStreamer's threads take it before they look at what is made here
    pipeline.reset(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr))));
    g_signal_connect(pipeline.get(), "deep-element-added", G_CALLBACK(OnElementAdded), nullptr);
    webrtc = gst_element_factory_make("webrtcbin", nullptr);
    g_object_set(webrtc, "latency", 200U, nullptr);
    gst_util_set_object_arg(G_OBJECT(webrtc), "bundle-policy", "max-bundle");
    gst_bin_add(GST_BIN(pipeline.get()), webrtc);
    petrel::PrepareIceAgent(webrtc);
    g_signal_connect(webrtc, "pad-added", G_CALLBACK(OnPadAdded), this);
    g_signal_connect(webrtc, "on-ice-candidate", G_CALLBACK(OnCandidate), this);
    const std::string video =
        "application/x-rtp,media=video,clock-rate=90000,payload=96,encoding-name=" + videoFormat +
        (format == "H264" ? ",packetization-mode=(string)1,profile-level-id=(string)42e01f" : "") +
        ",rtcp-fb-nack=true,rtcp-fb-nack-pli=true,rtcp-fb-transport-cc=true,extmap-3=(string)" +
        petrel::kTransportSequenceUri;
    AddReceiving(webrtc, video.c_str());
    AddReceiving(webrtc,
                 "application/x-rtp,media=audio,clock-rate=48000,payload=111,encoding-name=OPUS,"
                 "encoding-params=(string)2");
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
}

TestReceiver::~TestReceiver() {
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
}

void TestReceiver::Offer() {
    const GstHandle<GstWebRTCSessionDescription> offer = CreateOffer(webrtc);
    const GstHandle<gchar> text(gst_sdp_message_as_text(offer->sdp));
    send(json{{"action", "masterMadeOffer"},
              {"peersIdentifier", identifier},
              {"sdp", text.get()},
              {"sessionGuid", "guid"},
              {"type", "offer"}}
             .dump());
    g_signal_emit_by_name(webrtc, "set-local-description", offer.get(), nullptr);
}

void TestReceiver::OnMessage(const std::string& text) {
    const json message = json::parse(text);
    const std::string action = message.at("action");
    if (action == "gotAnswer") SetAnswer(message.at("sdp"));
    if (action == "ice") AddCandidate(message.at("sdp"), message.at("sdpMLineIndex"));
}

void TestReceiver::SetAnswer(const std::string& sdp) {
    {
        support::MutexLock lock(mutex);
        answer = sdp;
    }
    changed.NotifyAll();
    const GstHandle<GstSDPMessage> parsed = petrel::ParseSdp(sdp);
    if (parsed == nullptr) return;
    GstSDPMessage* copy = nullptr;
    gst_sdp_message_copy(parsed.get(), &copy);
    const GstHandle<GstWebRTCSessionDescription> description(
        gst_webrtc_session_description_new(GST_WEBRTC_SDP_TYPE_ANSWER, copy));
    g_signal_emit_by_name(webrtc, "set-remote-description", description.get(), nullptr);
}

void TestReceiver::AddCandidate(const std::string& candidate, int lineIndex) {
    g_signal_emit_by_name(webrtc, "add-ice-candidate", static_cast<guint>(lineIndex), candidate.c_str());
}

bool TestReceiver::WaitForAnswer() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(15);
    support::MutexLock lock(mutex);
    while (answer.empty()) {
        if (!changed.WaitUntil(mutex, deadline)) return !answer.empty();
    }
    return true;
}

std::vector<ReceivedPicture> TestReceiver::Pictures() {
    support::MutexLock lock(mutex);
    return pictures;
}

std::vector<std::int16_t> TestReceiver::Sound() {
    support::MutexLock lock(mutex);
    return sound;
}

int TestReceiver::ExtendedPackets() {
    support::MutexLock lock(mutex);
    return extendedPackets;
}

std::string TestReceiver::Answer() {
    support::MutexLock lock(mutex);
    return answer;
}

void TestReceiver::OnCandidate(GstElement*, guint index, gchar* text, gpointer data) {
    auto* self = static_cast<TestReceiver*>(data);
    const support::MutexLock lock(self->mutex);
    self->send(json{
        {"action", "ice"},
        {"peersIdentifier", self->identifier},
        {"sdp", text},
        {"sdpMLineIndex", std::to_string(index)},
        {"sdpMid", ""},
        {"sessionGuid",
         "guid"}}.dump());
}

void TestReceiver::OnPadAdded(GstElement*, GstPad* pad, gpointer data) {
    auto* self = static_cast<TestReceiver*>(data);
    const support::MutexLock lock(self->mutex);
    const GstHandle<GstCaps> caps(gst_pad_get_current_caps(pad));
    const std::string media =
        petrel::TextOf(gst_structure_get_string(gst_caps_get_structure(caps.get(), 0), "media"));
    if (media == "video") gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, OnVideoPacket, self, nullptr);
    const std::string video = self->format == "H264"  ? "rtph264depay ! avdec_h264"
                              : self->format == "VP8" ? "rtpvp8depay ! vp8dec"
                                                      : "rtpvp9depay ! vp9dec";
    const std::string description =
        media == "video" ? video + " ! videoconvert ! video/x-raw,format=I420 ! appsink name=out sync=false"
                         : "rtpopusdepay ! opusdec ! audioconvert ! audioresample ! "
                           "audio/x-raw,format=S16LE,rate=48000,channels=1 ! appsink name=out sync=false";
    GstElement* branch = gst_parse_bin_from_description(description.c_str(), TRUE, nullptr);
    const GstHandle<GstAppSink> out(GST_APP_SINK(gst_bin_get_by_name(GST_BIN(branch), "out")));
    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = media == "video" ? OnPicture : OnSound;
    gst_app_sink_set_callbacks(out.get(), &callbacks, self, nullptr);
    gst_bin_add(GST_BIN(self->pipeline.get()), branch);
    gst_element_sync_state_with_parent(branch);
    const GstHandle<GstPad> input(gst_element_get_static_pad(branch, "sink"));
    gst_pad_link(pad, input.get());
}

GstPadProbeReturn TestReceiver::OnVideoPacket(GstPad*, GstPadProbeInfo* info, gpointer data) {
    auto* self = static_cast<TestReceiver*>(data);
    std::uint8_t firstByte = 0;
    gst_buffer_extract(GST_PAD_PROBE_INFO_BUFFER(info), 0, &firstByte, 1);
    constexpr std::uint8_t kHasExtension = 0x10;  // RFC 3550 section 5.1
    const support::MutexLock lock(self->mutex);
    if ((firstByte & kHasExtension) != 0) ++self->extendedPackets;
    return GST_PAD_PROBE_OK;
}

GstFlowReturn TestReceiver::OnPicture(GstAppSink* sink, gpointer data) {
    auto* self = static_cast<TestReceiver*>(data);
    const GstHandle<GstSample> sample(gst_app_sink_pull_sample(sink));
    if (sample == nullptr) return GST_FLOW_EOS;
    ReceivedPicture picture;
    picture.arrivalUs = NowUs();
    GstVideoInfo info;
    gst_video_info_from_caps(&info, gst_sample_get_caps(sample.get()));
    GstVideoFrame frame;
    if (!gst_video_frame_map(&frame, &info, gst_sample_get_buffer(sample.get()), GST_MAP_READ))
        return GST_FLOW_OK;
    const auto* luma = static_cast<const std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0));
    const int stride = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0);
    const auto lumaAt = [luma, stride](int x, int y) { return static_cast<int>(luma[y * stride + x]); };
    picture.width = GST_VIDEO_FRAME_WIDTH(&frame);
    picture.height = GST_VIDEO_FRAME_HEIGHT(&frame);
    picture.stamp = support::frame_stamp::Read(picture.width, picture.height, lumaAt);
    picture.flashLuma = support::frame_stamp::MeanLuma(
        support::frame_stamp::FlashArea(picture.width, picture.height), lumaAt);
    gst_video_frame_unmap(&frame);
    {
        support::MutexLock lock(self->mutex);
        self->pictures.push_back(picture);
    }
    self->changed.NotifyAll();
    return GST_FLOW_OK;
}

GstFlowReturn TestReceiver::OnSound(GstAppSink* sink, gpointer data) {
    auto* self = static_cast<TestReceiver*>(data);
    const GstHandle<GstSample> sample(gst_app_sink_pull_sample(sink));
    if (sample == nullptr) return GST_FLOW_EOS;
    GstMapInfo map;
    GstBuffer* buffer = gst_sample_get_buffer(sample.get());
    if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) return GST_FLOW_OK;
    const auto* samples = reinterpret_cast<const std::int16_t*>(map.data);
    {
        support::MutexLock lock(self->mutex);
        self->sound.insert(self->sound.end(), samples, samples + map.size / sizeof(std::int16_t));
    }
    gst_buffer_unmap(buffer, &map);
    self->changed.NotifyAll();
    return GST_FLOW_OK;
}

}  // namespace tests
