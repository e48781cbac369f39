#include "tests/contract/webrtc/TestPhone.h"

#include <gst/sdp/sdp.h>
#include <gst/video/video.h>
#include <gst/webrtc/webrtc.h>
#include <nice/nice.h>

#include <map>
#include <sstream>
#include <utility>

#include "support/annotated_mutex.h"

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
    const std::string distance = std::to_string(options.keyFrameDistance);
    std::string encoder;
    if (options.codec == "H264") {
        encoder =
            "x264enc tune=zerolatency speed-preset=ultrafast bitrate=800 threads=1 key-int-max=" + distance +
            " ! video/x-h264,profile=constrained-baseline ! identity name=encoded ! "
            "rtph264pay config-interval=-1 "
            "aggregate-mode=zero-latency";
    } else if (options.codec == "VP8") {
        encoder = "vp8enc deadline=1 cpu-used=8 target-bitrate=800000 keyframe-max-dist=" + distance +
                  " ! identity name=encoded ! rtpvp8pay "
                  "picture-id-mode=2";
    } else {
        encoder = "vp9enc deadline=1 cpu-used=8 target-bitrate=800000 keyframe-max-dist=" + distance +
                  " ! identity name=encoded ! rtpvp9pay "
                  "picture-id-mode=2";
    }
    return " videotestsrc name=camera is-live=true pattern=" + options.pattern +
           " ! video/x-raw,format=I420,width=" + std::to_string(options.width) +
           ",height=" + std::to_string(options.height) +
           ",framerate=" + std::to_string(options.framesPerSecond) + "/1 ! " + encoder +
           " pt=" + std::to_string(payload) +
           " ! application/x-rtp,media=video,encoding-name=" + options.codec +
           ",payload=" + std::to_string(payload) +
           " ! identity name=picture_packets ! queue name=sent_pictures ! phone.";
}

std::string AudioBranch(const TestPhone::Options& options, int payload) {
    return " audiotestsrc name=microphone is-live=true samplesperbuffer=960 volume=0.5 freq=" +
           std::to_string(options.toneHertz) +
           " ! audio/x-raw,rate=48000,channels=2 ! opusenc ! rtpopuspay pt=" + std::to_string(payload) +
           " ! application/x-rtp,media=audio,encoding-name=OPUS,payload=" + std::to_string(payload) +
           " ! identity name=sound_packets ! queue name=sent_sound ! phone.";
}

// Makes what one thread wrote visible to GStreamer's threads in a way that the thread checker sees.
void Cross() {
    static support::Mutex mutex;  // guards no field
    const support::MutexLock lock(mutex);
}

// For a whole callback: what it did is ordered with whoever ends its thread.
struct Crossing {
    Crossing() { Cross(); }
    ~Crossing() { Cross(); }
    Crossing(const Crossing&) = delete;
    Crossing& operator=(const Crossing&) = delete;
};

// Without a promise webrtcbin would lose its answer when it is closing.
void Emit(GstElement* webrtc, const char* signal, GstWebRTCSessionDescription* description) {
    GstPromise* promise = gst_promise_new();
    g_signal_emit_by_name(webrtc, signal, description, promise);
    gst_promise_unref(promise);
}

// The first line that begins so.
std::string LineOf(const std::string& sdp, const std::string& begin) {
    const auto at = sdp.find(begin);
    return at == std::string::npos ? std::string() : sdp.substr(at, sdp.find('\r', at) - at);
}

std::int64_t NowUs() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

struct Label {
    std::uint32_t stream = 0;
    std::uint16_t number = 0;
    bool marked = false;
};

Label LabelOf(GstBuffer* packet) {
    guint8 header[12] = {};  // RFC 3550, section 5.1
    gst_buffer_extract(packet, 0, header, sizeof header);
    return {GST_READ_UINT32_BE(header + 8), GST_READ_UINT16_BE(header + 2), (header[1] & 0x80) != 0};
}

void AddProbe(GstElement* made, const char* element, GstPadProbeType type, GstPadProbeCallback probe,
              gpointer data) {
    GstElement* found = gst_bin_get_by_name(GST_BIN(made), element);
    GstPad* pad = gst_element_get_static_pad(found, "src");
    gst_pad_add_probe(pad, type, probe, data, nullptr);
    gst_object_unref(pad);
    gst_object_unref(found);
}

// Asks no router for anything, and uses loopback if there is nothing else.
void SetUpIce(GstElement* webrtc) {
    GList* addresses = nice_interfaces_get_local_ips(FALSE);
    const bool others = addresses != nullptr;
    g_list_free_full(addresses, g_free);
    GObject* ice = nullptr;
    g_object_get(webrtc, "ice-agent", &ice, nullptr);
    NiceAgent* agent = nullptr;
    g_object_get(ice, "agent", &agent, nullptr);
    g_object_set(agent, "upnp", FALSE, "ice-tcp", FALSE, nullptr);
    if (!others) {
        NiceAddress address;
        nice_address_init(&address);
        nice_address_set_from_string(&address, "127.0.0.1");
        nice_agent_add_local_address(agent, &address);
    }
    g_object_unref(agent);
    g_object_unref(ice);
}

}  // namespace

void TestPhone::Build(const std::string& offer) {
    gst_init(nullptr, nullptr);
    std::string description = "webrtcbin name=phone bundle-policy=max-bundle latency=50";
    if (options.sendVideo) description += VideoBranch(options, PayloadOf(offer, options.codec));
    if (options.sendAudio) description += AudioBranch(options, PayloadOf(offer, "OPUS"));
    GstElement* made = gst_parse_launch(description.c_str(), nullptr);
    GstElement* bin = GST_IS_PIPELINE(made) ? gst_bin_get_by_name(GST_BIN(made), "phone")
                                            : GST_ELEMENT(gst_object_ref(made));
    SetUpIce(bin);
    g_signal_connect(bin, "on-ice-candidate",
                     G_CALLBACK(+[](GstElement*, guint line, gchar* text, gpointer self) {
                         const Crossing crossing;
                         const auto& handler = static_cast<TestPhone*>(self)->onCandidate;
                         if (handler) handler(line, text);
                     }),
                     this);
    if (options.sendVideo) {
        AddProbe(made, "camera", GST_PAD_PROBE_TYPE_BUFFER, OnCameraPicture, this);
        AddProbe(made, "encoded", GST_PAD_PROBE_TYPE_BUFFER, OnEncodedPicture, this);
        AddProbe(made, "encoded", GST_PAD_PROBE_TYPE_EVENT_UPSTREAM, OnRequest, this);
    }
    if (options.sendAudio) AddProbe(made, "microphone", GST_PAD_PROBE_TYPE_BUFFER, OnMicrophoneSound, this);
    if (options.sendVideo)
        AddProbe(made, "picture_packets", GST_PAD_PROBE_TYPE_BUFFER, OnPicturePacket, this);
    if (options.sendAudio) AddProbe(made, "sound_packets", GST_PAD_PROBE_TYPE_BUFFER, OnSoundPacket, this);
    g_signal_connect(made, "deep-element-added", G_CALLBACK(OnElementAdded), this);
    Cross();
    gst_element_set_state(made, GST_STATE_PLAYING);
    const support::MutexLock lock(mutex);
    pipeline = made;
    webrtc = bin;
}

GstPadProbeReturn TestPhone::OnCameraPicture(GstPad*, GstPadProbeInfo*, gpointer data) {
    const Crossing crossing;
    auto* self = static_cast<TestPhone*>(data);
    if (self->pictureFrozen) return GST_PAD_PROBE_DROP;
    ++self->picturesSent;
    return GST_PAD_PROBE_OK;
}

GstPadProbeReturn TestPhone::OnMicrophoneSound(GstPad*, GstPadProbeInfo*, gpointer data) {
    const Crossing crossing;
    return static_cast<TestPhone*>(data)->soundFrozen ? GST_PAD_PROBE_DROP : GST_PAD_PROBE_OK;
}

GstPadProbeReturn TestPhone::OnEncodedPicture(GstPad*, GstPadProbeInfo* info, gpointer data) {
    const Crossing crossing;
    const bool isKey =
        !GST_BUFFER_FLAG_IS_SET(gst_pad_probe_info_get_buffer(info), GST_BUFFER_FLAG_DELTA_UNIT);
    return isKey && static_cast<TestPhone*>(data)->losesKeyFrames ? GST_PAD_PROBE_DROP : GST_PAD_PROBE_OK;
}

GstPadProbeReturn TestPhone::OnPicturePacket(GstPad* pad, GstPadProbeInfo* info, gpointer data) {
    const Crossing crossing;
    auto* self = static_cast<TestPhone*>(data);
    const Label label = LabelOf(gst_pad_probe_info_get_buffer(info));
    if (self->options.sendsTwoAtATime) return self->HoldPacket(pad, info, label.marked);
    if (!label.marked || !self->losesPictureEnd.exchange(false)) return GST_PAD_PROBE_OK;
    if (self->onPacketLost) self->onPacketLost(Media::Picture, label.number);
    return GST_PAD_PROBE_DROP;
}

GstPadProbeReturn TestPhone::HoldPacket(GstPad* pad, GstPadProbeInfo* info, bool endsPicture) {
    if (sendsHeld) return GST_PAD_PROBE_OK;  // on its way at last
    heldPackets.push_back(gst_pad_probe_info_get_buffer(info));
    GST_PAD_PROBE_INFO_DATA(info) = nullptr;
    if (endsPicture && ++heldPictures == 2) {
        sendsHeld = true;
        for (GstBuffer* packet : std::exchange(heldPackets, {}))
            gst_pad_push(pad, packet);
        sendsHeld = false;
        heldPictures = 0;
    }
    return GST_PAD_PROBE_HANDLED;
}

GstPadProbeReturn TestPhone::OnSoundPacket(GstPad*, GstPadProbeInfo* info, gpointer data) {
    const Crossing crossing;
    auto* self = static_cast<TestPhone*>(data);
    const Label label = LabelOf(gst_pad_probe_info_get_buffer(info));
    self->soundStream = label.stream;
    if (!self->losesSound.exchange(false)) return GST_PAD_PROBE_OK;
    if (self->onPacketLost) self->onPacketLost(Media::Sound, label.number);
    return GST_PAD_PROBE_DROP;
}

void TestPhone::OnElementAdded(GstBin*, GstBin*, GstElement* element, gpointer data) {
    const GstElementFactory* factory = gst_element_get_factory(element);
    if (factory == nullptr || g_strcmp0(GST_OBJECT_NAME(factory), "rtpsession") != 0) return;
    GObject* session = nullptr;
    g_object_get(element, "internal-session", &session, nullptr);
    g_signal_connect(session, "on-receiving-rtcp", G_CALLBACK(OnReport), data);
    g_signal_connect(session, "on-feedback-rtcp", G_CALLBACK(OnFeedback), data);
    g_object_unref(session);
}

void TestPhone::OnReport(GObject*, GstBuffer*, gpointer data) {
    const Crossing crossing;
    auto* self = static_cast<TestPhone*>(data);
    if (self->onReport) self->onReport();
}

void TestPhone::OnFeedback(GObject*, guint type, guint kind, guint, guint stream, GstBuffer* numbers,
                           gpointer data) {
    const Crossing crossing;
    auto* self = static_cast<TestPhone*>(data);
    constexpr guint kTransportFeedback = 205;  // RFC 4585, section 6.2.1
    constexpr guint kLostPackets = 1;
    GstMapInfo map;
    if (type != kTransportFeedback || kind != kLostPackets || !self->onPacketRequest || numbers == nullptr ||
        gst_buffer_map(numbers, &map, GST_MAP_READ) == FALSE)
        return;
    const Media media = stream == self->soundStream ? Media::Sound : Media::Picture;
    for (gsize at = 0; at + 4 <= map.size; at += 4) {
        const guint16 first = GST_READ_UINT16_BE(map.data + at);
        const guint16 others = GST_READ_UINT16_BE(map.data + at + 2);
        self->onPacketRequest(media, first);
        for (int bit = 0; bit < 16; ++bit) {
            if ((others >> bit & 1) != 0)
                self->onPacketRequest(media, static_cast<std::uint16_t>(first + bit + 1));
        }
    }
    gst_buffer_unmap(numbers, &map);
}

GstPadProbeReturn TestPhone::OnRequest(GstPad*, GstPadProbeInfo* info, gpointer data) {
    const Crossing crossing;
    auto* self = static_cast<TestPhone*>(data);
    if (!gst_video_event_is_force_key_unit(gst_pad_probe_info_get_event(info))) return GST_PAD_PROBE_OK;
    constexpr std::int64_t kLostUs = 1'000'000;
    if (!self->pictureFrozen || NowUs() - self->frozenAtUs < kLostUs) return GST_PAD_PROBE_OK;
    std::int64_t none = -1;
    self->keyRequestAfterUs.compare_exchange_strong(none, NowUs() - self->frozenAtUs);
    if (self->frozenUntil == Until::KeyRequest) self->Thaw();
    return GST_PAD_PROBE_OK;
}

void TestPhone::Freeze(Media media, Until until) {
    frozenUntil = until;
    if (media == Media::Sound) {
        soundFrozen = true;
        return;
    }
    frozenAtUs = NowUs();
    keyRequestAfterUs = -1;
    pictureFrozen = true;
}

void TestPhone::Thaw() {
    pictureFrozen = false;
    soundFrozen = false;
}

std::optional<std::chrono::microseconds> TestPhone::KeyRequestAfter() const {
    if (keyRequestAfterUs < 0) return std::nullopt;
    return std::chrono::microseconds(keyRequestAfterUs);
}

void TestPhone::EndStreams() {
    const support::MutexLock lock(mutex);
    GstIterator* sessions = gst_bin_iterate_all_by_element_factory_name(GST_BIN(webrtc), "rtpsession");
    // The end of what a session sends makes it say goodbye for all its streams.
    const auto end = [](const GValue* value, gpointer) {
        GstPad* pad = gst_element_get_static_pad(GST_ELEMENT(g_value_get_object(value)), "send_rtp_sink");
        if (pad == nullptr) return;
        gst_pad_send_event(pad, gst_event_new_eos());
        gst_object_unref(pad);
    };
    gst_iterator_foreach(sessions, end, nullptr);
    gst_iterator_free(sessions);
}

// With a reference for the caller; null when there is none.
GstElement* TestPhone::Webrtc() {
    const support::MutexLock lock(mutex);
    return webrtc != nullptr ? GST_ELEMENT(gst_object_ref(webrtc)) : nullptr;
}

void TestPhone::Answer(const std::string& offer) {
    // Another transport is another connection.
    const std::string transport = LineOf(offer, "a=ice-ufrag:");
    if (transport != offeredTransport) Vanish();
    offeredTransport = transport;
    if (frozenUntil == Until::NewOffer) Thaw();
    GstElement* bin = Webrtc();
    if (bin == nullptr) {
        Build(offer);
        bin = Webrtc();
    }
    SetRemote(offer, true);
    GstPromise* promise = gst_promise_new_with_change_func(OnMade, this, nullptr);
    g_signal_emit_by_name(bin, "create-answer", nullptr, promise);
    gst_promise_unref(promise);
    gst_object_unref(bin);
}

void TestPhone::Offer() {
    offers = true;
    Build({});
    GstElement* bin = Webrtc();
    GArray* transceivers = nullptr;
    g_signal_emit_by_name(bin, "get-transceivers", &transceivers);
    for (guint index = 0; index < transceivers->len; ++index) {
        g_object_set(g_array_index(transceivers, GObject*, index), "direction",
                     GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY, nullptr);
    }
    g_array_unref(transceivers);
    GstPromise* promise = gst_promise_new_with_change_func(OnMade, this, nullptr);
    g_signal_emit_by_name(bin, "create-offer", nullptr, promise);
    gst_promise_unref(promise);
    gst_object_unref(bin);
}

void TestPhone::OnMade(GstPromise* promise, gpointer data) {
    const Crossing crossing;
    auto* self = static_cast<TestPhone*>(data);
    GstWebRTCSessionDescription* description = nullptr;
    if (gst_promise_wait(promise) == GST_PROMISE_RESULT_REPLIED) {
        gst_structure_get(gst_promise_get_reply(promise), self->offers ? "offer" : "answer",
                          GST_TYPE_WEBRTC_SESSION_DESCRIPTION, &description, nullptr);
    }
    if (description != nullptr) self->Deliver(description);
}

void TestPhone::Deliver(GstWebRTCSessionDescription* description) {
    gchar* text = gst_sdp_message_as_text(description->sdp);
    // First, or the answer to an offer may overtake it; the candidates come later, since webrtcbin does one
    // thing after the other, and this is one.
    if (GstElement* bin = Webrtc()) {
        Emit(bin, "set-local-description", description);
        gst_object_unref(bin);
    }
    if (onDescription) onDescription(text);
    g_free(text);
    gst_webrtc_session_description_free(description);
}

void TestPhone::SetRemote(const std::string& sdp, bool isOffer) {
    GstSDPMessage* message = nullptr;
    gst_sdp_message_new_from_text(sdp.c_str(), &message);
    GstWebRTCSessionDescription* description = gst_webrtc_session_description_new(
        isOffer ? GST_WEBRTC_SDP_TYPE_OFFER : GST_WEBRTC_SDP_TYPE_ANSWER, message);
    if (GstElement* bin = Webrtc()) {
        Emit(bin, "set-remote-description", description);
        gst_object_unref(bin);
    }
    gst_webrtc_session_description_free(description);
}

void TestPhone::TakeAnswer(const std::string& answer) {
    SetRemote(answer, false);
}

void TestPhone::AddCandidate(unsigned int lineIndex, const std::string& candidate) {
    GstElement* bin = Webrtc();
    if (bin == nullptr) return;
    g_signal_emit_by_name(bin, "add-ice-candidate", lineIndex, candidate.c_str());
    gst_object_unref(bin);
}

void TestPhone::Vanish() {
    GstElement* oldPipeline = nullptr;
    GstElement* oldBin = nullptr;
    {
        const support::MutexLock lock(mutex);
        oldPipeline = std::exchange(pipeline, nullptr);
        oldBin = std::exchange(webrtc, nullptr);
    }
    if (oldPipeline == nullptr) return;
    gst_element_set_state(oldPipeline, GST_STATE_NULL);
    gst_object_unref(oldBin);
    gst_object_unref(oldPipeline);
    Cross();
    for (GstBuffer* packet : std::exchange(heldPackets, {}))
        gst_buffer_unref(packet);
    heldPictures = 0;
}

}  // namespace contract
