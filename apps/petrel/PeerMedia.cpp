#include "apps/petrel/PeerMedia.h"

#include <fmt/format.h>
#include <gst/rtp/rtp.h>
#include <gst/video/video.h>

#include <algorithm>
#include <utility>

#include "apps/petrel/IceSetup.h"
#include "apps/petrel/PeerMediaLink.h"
#include "apps/petrel/Retransmitter.h"
#include "apps/petrel/SdpFields.h"

namespace petrel {
namespace {

constexpr int kMaximumPacketBytes = 1200;
// Sender reports, from which a receiver aligns picture and sound, come twice a second instead of every five
// seconds.
constexpr guint64 kRtcpIntervalNs = 500'000'000;

GstElement* MakeElement(const char* factory) {
    return gst_element_factory_make(factory, nullptr);
}

// A client that lost pictures asks through its payloader; the wish ends here and goes to the shared encoder.
GstPadProbeReturn OnUpstreamEvent(GstPad*, GstPadProbeInfo* info, gpointer encoder) {
    if (gst_video_event_is_force_key_unit(GST_PAD_PROBE_INFO_EVENT(info))) {
        static_cast<SharedEncoder*>(encoder)->RequestKeyPicture();
    }
    return GST_PAD_PROBE_OK;
}

// Live media is sent at once; its timestamps are for the receiver. What is lost is sent again, if nothing
// else was agreed on, where webrtcbin's own element would swallow the client's wish.
void OnElementAdded(GstBin*, GstBin*, GstElement* element, gpointer data) {
    const GstElementFactory* factory = gst_element_get_factory(element);
    if (factory == nullptr) return;
    if (g_strcmp0(GST_OBJECT_NAME(factory), "clocksync") == 0) g_object_set(element, "sync", FALSE, nullptr);
    if (g_strcmp0(GST_OBJECT_NAME(factory), "srtpenc") == 0) Retransmitter::Allow(element);
    if (g_strcmp0(GST_OBJECT_NAME(factory), "rtprtxsend") != 0) return;
    const auto& plan = *static_cast<const OfferPlan*>(data);
    if (std::any_of(plan.media.begin(), plan.media.end(),
                    [](const auto& media) { return media.retransmission; }))
        return;
    const GstHandle<GstPad> output(gst_element_get_static_pad(element, "src"));
    if (output != nullptr) Retransmitter::AttachTo(output.get());
}

GstElement* MakeVideoPayloader(VideoCodec codec) {
    if (codec != VideoCodec::H264) {
        GstElement* payloader = MakeElement(codec == VideoCodec::Vp8 ? "rtpvp8pay" : "rtpvp9pay");
        if (payloader != nullptr) gst_util_set_object_arg(G_OBJECT(payloader), "picture-id-mode", "15-bit");
        return payloader;
    }
    GstElement* payloader = MakeElement("rtph264pay");
    if (payloader != nullptr) {
        g_object_set(payloader, "config-interval", -1, nullptr);
        gst_util_set_object_arg(G_OBJECT(payloader), "aggregate-mode", "zero-latency");
    }
    return payloader;
}

// Numbers the packets of all streams together, from which the client learns how the path fares.
void AddTransportSequence(GstElement* payloader, int identifier) {
    GstRTPHeaderExtension* extension = gst_rtp_header_extension_create_from_uri(kTransportSequenceUri);
    if (extension == nullptr) return;
    gst_rtp_header_extension_set_id(extension, static_cast<guint>(identifier));
    g_signal_emit_by_name(payloader, "add-extension", extension);
    gst_object_unref(extension);
}

GstHandle<GstCaps> PacketCaps(const OfferedMedia& media, VideoCodec codec, guint ssrc) {
    const bool video = media.kind == OfferedMedia::Kind::Video;
    const char* encoding = video ? EncodingName(codec) : "OPUS";
    GstCaps* caps = gst_caps_new_simple("application/x-rtp", "media", G_TYPE_STRING, media.mediaName.c_str(),
                                        "encoding-name", G_TYPE_STRING, encoding, "clock-rate", G_TYPE_INT,
                                        video ? 90'000 : kAudioRate, "payload", G_TYPE_INT, media.payloadType,
                                        "ssrc", G_TYPE_UINT, ssrc, nullptr);
    return GstHandle<GstCaps>(caps);
}

}  // namespace

std::shared_ptr<PeerMedia> PeerMedia::Start(OfferPlan plan, ControlLoop& loop, SharedEncoder& encoder,
                                            PeerMediaEvents events, std::string& error) {
    std::shared_ptr<PeerMedia> made(new PeerMedia(std::move(plan), loop, encoder, std::move(events)));
    if (!made->Build(error)) return nullptr;
    return made;
}

PeerMedia::PeerMedia(OfferPlan toAnswer, ControlLoop& controlLoop, SharedEncoder& sharedEncoder,
                     PeerMediaEvents toCall)
    : plan(std::move(toAnswer)), loop(controlLoop), encoder(sharedEncoder), events(std::move(toCall)) {}

PeerMedia::~PeerMedia() {
    if (subscription != 0) encoder.Unsubscribe(subscription);
    if (pipeline == nullptr) return;
    DisconnectSignals();
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
}

bool PeerMedia::Build(std::string& error) {
    pipeline.reset(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr))));
    g_signal_connect(pipeline.get(), "deep-element-added", G_CALLBACK(OnElementAdded),
                     const_cast<OfferPlan*>(&plan));
    webrtc = MakeElement("webrtcbin");
    if (webrtc == nullptr) {
        error = "GStreamer's webrtcbin is not installed";
        return false;
    }
    gst_util_set_object_arg(G_OBJECT(webrtc), "bundle-policy", "max-bundle");
    gst_bin_add(GST_BIN(pipeline.get()), webrtc);
    encoder.ShareTimeWith(pipeline.get());
    PrepareIceAgent(webrtc);
    ConnectSignals();

    // The pads take their first caps below only when they are active.
    if (gst_element_set_state(pipeline.get(), GST_STATE_PAUSED) == GST_STATE_CHANGE_FAILURE) {
        error = "the connection does not start";
        return false;
    }
    for (std::size_t index = 0; index < plan.media.size(); ++index) {
        if (plan.media[index].reply == OfferedMedia::Reply::Send && !AddInput(index, error)) return false;
    }
    if (gst_element_set_state(pipeline.get(), GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE) {
        error = "the connection does not start";
        return false;
    }
    const GstHandle<GstSDPMessage> message = ParseSdp(plan.engineOffer);
    if (message == nullptr) {
        error = "the offer cannot be put into the engine's words";
        return false;
    }
    GstSDPMessage* copy = nullptr;
    gst_sdp_message_copy(message.get(), &copy);
    const GstHandle<GstWebRTCSessionDescription> offer(
        gst_webrtc_session_description_new(GST_WEBRTC_SDP_TYPE_OFFER, copy));
    g_signal_emit_by_name(webrtc, "set-remote-description", offer.get(), PromiseFor(Step::OfferSet).get());
    return true;
}

bool PeerMedia::AddInput(std::size_t mediaIndex, std::string& error) {
    const OfferedMedia& media = plan.media[mediaIndex];
    const bool video = media.kind == OfferedMedia::Kind::Video;
    GstElement* source = MakeElement("appsrc");
    GstElement* payloader = video ? MakeVideoPayloader(encoder.Codec()) : MakeElement("rtpopuspay");
    const std::string padName = fmt::format("sink_{}", plan.EngineIndex(mediaIndex));
    const GstHandle<GstPad> sink(gst_element_request_pad_simple(webrtc, padName.c_str()));
    if (source == nullptr || payloader == nullptr || sink == nullptr) {
        if (source != nullptr) gst_object_unref(gst_object_ref_sink(source));
        if (payloader != nullptr) gst_object_unref(gst_object_ref_sink(payloader));
        error = fmt::format("a payloader for {} is not installed", media.mediaName);
        return false;
    }
    const auto ssrc = static_cast<guint>(g_random_int_range(1, G_MAXINT32));
    g_object_set(source, "is-live", TRUE, "format", GST_FORMAT_TIME, "max-bytes", guint64{0}, nullptr);
    g_object_set(payloader, "mtu", kMaximumPacketBytes, "pt", media.payloadType, "ssrc", ssrc, nullptr);
    if (media.twccExtension > 0) AddTransportSequence(payloader, media.twccExtension);

    GstObject* transceiver = nullptr;
    g_object_get(sink.get(), "transceiver", &transceiver, nullptr);
    const GstHandle<GstObject> ownedTransceiver(transceiver);
    g_object_set(transceiver, "direction", GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY, "do-nack",
                 media.retransmission ? TRUE : FALSE, nullptr);

    // The engine wants to know what comes before it answers; the payloader says it only with its first
    // picture.
    const GstHandle<GstCaps> caps = PacketCaps(media, encoder.Codec(), ssrc);
    gst_pad_send_event(sink.get(), gst_event_new_stream_start(media.mid.c_str()));
    gst_pad_send_event(sink.get(), gst_event_new_caps(caps.get()));

    gst_bin_add_many(GST_BIN(pipeline.get()), source, payloader, nullptr);
    const GstHandle<GstPad> payloaderOutput(gst_element_get_static_pad(payloader, "src"));
    if (!gst_element_link(source, payloader) ||
        gst_pad_link(payloaderOutput.get(), sink.get()) != GST_PAD_LINK_OK) {
        error = fmt::format("{} cannot be connected", media.mediaName);
        return false;
    }
    const GstHandle<GstPad> sourceOutput(gst_element_get_static_pad(source, "src"));
    if (video) {
        gst_pad_add_probe(sourceOutput.get(), GST_PAD_PROBE_TYPE_EVENT_UPSTREAM, OnUpstreamEvent, &encoder,
                          nullptr);
    }
    gst_element_sync_state_with_parent(payloader);
    gst_element_sync_state_with_parent(source);
    (video ? inputs.video : inputs.audio).reset(GST_APP_SRC(gst_object_ref(source)));
    return true;
}

void PeerMedia::StartStreaming() {
    if (subscription != 0) return;
    const GstHandle<GstElement> rtpbin(gst_bin_get_by_name(GST_BIN(webrtc), "rtpbin"));
    GObject* session = nullptr;
    if (rtpbin != nullptr) g_signal_emit_by_name(rtpbin.get(), "get-internal-session", 0U, &session);
    if (session != nullptr) {
        const GstHandle<GObject> owned(session);
        g_object_set(session, "rtcp-min-interval", kRtcpIntervalNs, nullptr);
    }
    subscription = encoder.Subscribe(std::move(inputs));
    events.onStreaming();
}

void PeerMedia::Fail(const std::string& problem) {
    if (failed) return;
    failed = true;
    if (subscription != 0) encoder.Unsubscribe(subscription);
    subscription = 0;
    events.onFailed(problem);
}

}  // namespace petrel
