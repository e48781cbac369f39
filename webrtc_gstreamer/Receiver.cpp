#include "webrtc_gstreamer/Receiver.h"

#include <gst/app/gstappsink.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "webrtc_gstreamer/Crossing.h"
#include "webrtc_gstreamer/DecoderThreads.h"
#include "webrtc_gstreamer/FactoryName.h"
#include "webrtc_gstreamer/GstPointers.h"
#include "webrtc_gstreamer/Log.h"
#include "webrtc_gstreamer/PictureReader.h"
#include "webrtc_gstreamer/PictureSpacing.h"
#include "webrtc_gstreamer/SharedPictures.h"

namespace webrtc_gstreamer {
namespace {

// A chain in gst-launch's notation. The decoder works without reordering delay; the queue after it drops old
// pictures when a sink is slow, never undecoded data.
struct Chain {
    const char* encoding;
    bool video;
    const char* elements;
};

constexpr Chain kChains[] = {
    {"H264", true,
     "rtph264depay request-keyframe=true wait-for-keyframe=true ! h264parse disable-passthrough=true ! "
     "avdec_h264 thread-type=slice output-corrupt=false max-errors=-1 "
     "automatic-request-sync-points=true name=decoder"},
    {"VP8", true,
     "rtpvp8depay request-keyframe=true wait-for-keyframe=true ! "
     "avdec_vp8 thread-type=slice output-corrupt=false max-errors=-1 "
     "automatic-request-sync-points=true name=decoder"},
    {"VP9", true,
     "rtpvp9depay request-keyframe=true wait-for-keyframe=true ! "
     "avdec_vp9 thread-type=slice output-corrupt=false max-errors=-1 "
     "automatic-request-sync-points=true name=decoder"},
    {"OPUS", false, "rtpopusdepay ! opusdec plc=true use-inband-fec=true max-errors=-1"},
};

constexpr const char* kVideoEnd =
    " ! queue name=output leaky=downstream max-size-buffers=2 max-size-bytes=0 max-size-time=0 ! "
    "appsink name=sink sync=false async=false qos=false enable-last-sample=false";
constexpr const char* kAudioEnd =
    " ! audioconvert ! audioresample ! "
    "audio/x-raw,format=S16LE,rate=48000,channels=2,layout=interleaved ! "
    "appsink name=sink sync=false async=false qos=false enable-last-sample=false";

// Sound is not sent again: what is missing after this time is concealed, and what follows goes on.
constexpr unsigned int kSoundJitterLatencyMs = 40;

const Chain* ChainFor(GstPad* pad) {
    const CapsPointer caps(gst_pad_get_current_caps(pad));
    const CapsPointer fallback(caps ? nullptr : gst_pad_query_caps(pad, nullptr));
    const GstCaps* known = caps ? caps.get() : fallback.get();
    if (known == nullptr || gst_caps_get_size(known) == 0) return nullptr;
    const gchar* encoding = gst_structure_get_string(gst_caps_get_structure(known, 0), "encoding-name");
    if (encoding == nullptr) return nullptr;
    for (const Chain& chain : kChains) {
        if (g_ascii_strcasecmp(encoding, chain.encoding) == 0) return &chain;
    }
    return nullptr;
}

// What an appsink's callbacks work on; owned by the appsink.
struct VideoOutput {
    VideoOutput(std::shared_ptr<VideoTrack> videoTrack)
        : track(std::move(videoTrack)),
          number(track->NewReceiver()),
          reader([this](const vo_webrtc::voI420Frame& frame) { track->Deliver(number, frame); }) {}
    const std::shared_ptr<VideoTrack> track;
    const std::uint64_t number;
    PictureReader reader;
    PictureSpacing spacing;
};

struct AudioOutput {
    AudioOutput(std::shared_ptr<AudioTrack> audioTrack)
        : track(std::move(audioTrack)), number(track->NewReceiver()) {}
    const std::shared_ptr<AudioTrack> track;
    const std::uint64_t number;
};

std::optional<PictureSpacing::Duration> StampOf(GstSample* sample) {
    const GstBuffer* picture = gst_sample_get_buffer(sample);
    if (picture == nullptr || !GST_BUFFER_PTS_IS_VALID(picture)) return std::nullopt;
    return std::chrono::nanoseconds(GST_BUFFER_PTS(picture));
}

GstFlowReturn OnPicture(GstAppSink* sink, gpointer data) {
    const Crossing crossing;
    const SamplePointer sample(gst_app_sink_pull_sample(sink));
    if (!sample) return GST_FLOW_OK;
    auto* output = static_cast<VideoOutput*>(data);
    const auto stamp = StampOf(sample.get());
    auto now = std::chrono::steady_clock::now();
    const auto due = output->spacing.Due(now, stamp);
    if (due > now) {
        // This thread has nothing else to do: the queue before the sink has it for itself.
        std::this_thread::sleep_until(due);
        now = std::chrono::steady_clock::now();
    }
    output->spacing.HandedOut(now, stamp);
    output->reader.Read(sample.get());
    return GST_FLOW_OK;
}

GstFlowReturn OnSound(GstAppSink* sink, gpointer data) {
    const Crossing crossing;
    const SamplePointer sample(gst_app_sink_pull_sample(sink));
    GstBuffer* buffer = sample ? gst_sample_get_buffer(sample.get()) : nullptr;
    GstMapInfo map;
    if (buffer == nullptr || gst_buffer_map(buffer, &map, GST_MAP_READ) == FALSE) return GST_FLOW_OK;
    auto* output = static_cast<AudioOutput*>(data);
    using Frame = AudioPlayout::Frame;
    // The allocator aligns to at least 8 bytes.
    output->track->Write(output->number, {static_cast<const Frame*>(static_cast<const void*>(map.data)),
                                          map.size / sizeof(Frame)});
    gst_buffer_unmap(buffer, &map);
    return GST_FLOW_OK;
}

template <class Output>
void ConnectSink(GstElement* bin, GstFlowReturn (*onSample)(GstAppSink*, gpointer), Output* output) {
    const ElementPointer sink(gst_bin_get_by_name(GST_BIN(bin), "sink"));
    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = onSample;
    gst_app_sink_set_callbacks(GST_APP_SINK(sink.get()), &callbacks, output, [](gpointer data) {
        const Crossing crossing;
        delete static_cast<Output*>(data);
    });
}

int RotationOf(const GstTagList* tags) {
    gchar* text = nullptr;
    if (gst_tag_list_get_string(const_cast<GstTagList*>(tags), GST_TAG_IMAGE_ORIENTATION, &text) == FALSE)
        return -1;
    const TextPointer owned(text);
    const std::string_view orientation(text);
    if (orientation == "rotate-90") return 90;
    if (orientation == "rotate-180") return 180;
    if (orientation == "rotate-270") return 270;
    return 0;
}

// Runs on the thread that calls the sink, before the picture that the tag belongs to.
GstPadProbeReturn OnSinkEvent(GstPad*, GstPadProbeInfo* probe, gpointer data) {
    GstEvent* event = gst_pad_probe_info_get_event(probe);
    if (GST_EVENT_TYPE(event) != GST_EVENT_TAG) return GST_PAD_PROBE_OK;
    const Crossing crossing;
    GstTagList* tags = nullptr;
    gst_event_parse_tag(event, &tags);
    const int rotation = RotationOf(tags);
    if (rotation >= 0) static_cast<VideoOutput*>(data)->reader.SetRotation(rotation);
    return GST_PAD_PROBE_OK;
}

GstPadProbeReturn OnAllocationQuery(GstPad*, GstPadProbeInfo* probe, gpointer) {
    GstQuery* query = gst_pad_probe_info_get_query(probe);
    if (GST_QUERY_TYPE(query) != GST_QUERY_ALLOCATION) return GST_PAD_PROBE_OK;
    AnswerAllocation(query);
    return GST_PAD_PROBE_HANDLED;
}

// The engine may lead sound through the pad that it made for the picture, and asks whether the pad's receiver
// takes pictures when it makes a further offer. What is offered is not the receiver's choice.
GstPadProbeReturn OnCapsQuery(GstPad*, GstPadProbeInfo* probe, gpointer) {
    GstQuery* query = gst_pad_probe_info_get_query(probe);
    if (GST_QUERY_TYPE(query) != GST_QUERY_CAPS) return GST_PAD_PROBE_OK;
    const CapsPointer any(gst_caps_new_any());
    gst_query_set_caps_result(query, any.get());
    return GST_PAD_PROBE_HANDLED;
}

void ConnectVideo(GstElement* bin, const std::shared_ptr<VideoTrack>& track) {
    auto* output = new VideoOutput(track);
    {
        const ElementPointer decoder(gst_bin_get_by_name(GST_BIN(bin), "decoder"));
        SetThreadsBySize(decoder.get());
        const ElementPointer queue(gst_bin_get_by_name(GST_BIN(bin), "output"));
        const PadPointer pad(gst_element_get_static_pad(queue.get(), "sink"));
        gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_QUERY_DOWNSTREAM, OnAllocationQuery, nullptr,
                          nullptr);
        const ElementPointer sink(gst_bin_get_by_name(GST_BIN(bin), "sink"));
        const PadPointer sinkPad(gst_element_get_static_pad(sink.get(), "sink"));
        gst_pad_add_probe(sinkPad.get(), GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, OnSinkEvent, output, nullptr);
    }
    ConnectSink(bin, OnPicture, output);
}

// Packets come on the thread that added the receiver.
struct PacketCounter {
    std::shared_ptr<StreamMeter> meter;
    bool named = false;
};

GstPadProbeReturn OnPackets(GstPad*, GstPadProbeInfo* probe, gpointer data) {
    auto* counter = static_cast<PacketCounter*>(data);
    guint count = 1;
    GstBuffer* first = nullptr;
    if ((GST_PAD_PROBE_INFO_TYPE(probe) & GST_PAD_PROBE_TYPE_BUFFER_LIST) != 0) {
        GstBufferList* list = gst_pad_probe_info_get_buffer_list(probe);
        count = gst_buffer_list_length(list);
        if (count == 0) return GST_PAD_PROBE_OK;
        first = gst_buffer_list_get(list, 0);
    } else {
        first = gst_pad_probe_info_get_buffer(probe);
    }
    constexpr gsize kSsrcOffset = 8;  // RFC 3550, section 5.1
    guint32 ssrc = 0;
    if (!counter->named && gst_buffer_extract(first, kSsrcOffset, &ssrc, sizeof ssrc) == sizeof ssrc) {
        counter->named = true;
        counter->meter->SetStream(GUINT32_FROM_BE(ssrc));
    }
    counter->meter->CountPackets(count);
    return GST_PAD_PROBE_OK;
}

void CountPackets(GstPad* pad, std::shared_ptr<StreamMeter> meter) {
    gst_pad_add_probe(
        pad, static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_BUFFER_LIST),
        OnPackets, new PacketCounter{std::move(meter)},
        [](gpointer data) { delete static_cast<PacketCounter*>(data); });
}

// The jitter buffer whose packets come out of this pad of webrtcbin; null when it cannot be found.
ElementPointer JitterBufferBehind(GstPad* pad) {
    constexpr int kMostSteps = 16;
    PadPointer at(GST_PAD(gst_object_ref(pad)));
    for (int step = 0; at && step < kMostSteps; ++step) {
        if (GST_IS_GHOST_PAD(at.get())) {
            at.reset(gst_ghost_pad_get_target(GST_GHOST_PAD(at.get())));
            continue;
        }
        ElementPointer element(gst_pad_get_parent_element(at.get()));
        if (!element) return nullptr;
        if (FactoryNameOf(element.get()) == "rtpjitterbuffer") return element;
        const PadPointer sink(gst_element_get_static_pad(element.get(), "sink"));
        at.reset(sink ? gst_pad_get_peer(sink.get()) : nullptr);
    }
    return nullptr;
}

void ConnectSound(GstElement* bin, GstPad* pad, const std::shared_ptr<AudioTrack>& track) {
    ConnectSink(bin, OnSound, new AudioOutput(track));
    if (const ElementPointer buffer = JitterBufferBehind(pad)) {
        g_object_set(buffer.get(), "latency", kSoundJitterLatencyMs, nullptr);
    } else {
        LogWarning("the jitter buffer of a sound cannot be found");
    }
}

void Drain(GstBin* pipeline, GstPad* pad) {
    GstElement* sink = gst_element_factory_make("fakesink", nullptr);
    if (sink == nullptr) return;
    g_object_set(sink, "sync", FALSE, "async", FALSE, nullptr);
    gst_bin_add(pipeline, sink);
    gst_element_sync_state_with_parent(sink);
    const PadPointer sinkPad(gst_element_get_static_pad(sink, "sink"));
    gst_pad_link(pad, sinkPad.get());
}

}  // namespace

void RequestKeyFrame(GstElement* receiver) {
    const ElementPointer decoder(gst_bin_get_by_name(GST_BIN(receiver), "decoder"));
    if (!decoder) return;  // sound has none
    const PadPointer pad(gst_element_get_static_pad(receiver, "sink"));
    // Without "all headers", which would make it a request that the other side may take for an old one.
    gst_pad_push_event(pad.get(), gst_video_event_new_upstream_force_key_unit(GST_CLOCK_TIME_NONE, FALSE, 0));
}

GstElement* AddReceiver(GstBin* pipeline, GstPad* pad, const ReceivingTracks& tracks) {
    const Chain* chain = ChainFor(pad);
    GstElement* bin = nullptr;
    if (chain != nullptr) {
        GError* error = nullptr;
        const std::string description = std::string(chain->elements) + (chain->video ? kVideoEnd : kAudioEnd);
        bin = gst_parse_bin_from_description(description.c_str(), TRUE, &error);
        if (error != nullptr) LogError(std::string("no decoder: ") + error->message);
        g_clear_error(&error);
    }
    if (bin == nullptr) {
        LogWarning("a received stream of an unknown kind is ignored");
        Drain(pipeline, pad);
        return nullptr;
    }
    if (chain->video) {
        ConnectVideo(bin, tracks.video);
    } else {
        ConnectSound(bin, pad, tracks.audio);
    }
    gst_bin_add(pipeline, bin);
    gst_element_sync_state_with_parent(bin);
    const PadPointer sinkPad(gst_element_get_static_pad(bin, "sink"));
    gst_pad_add_probe(sinkPad.get(), GST_PAD_PROBE_TYPE_QUERY_DOWNSTREAM, OnCapsQuery, nullptr, nullptr);
    CountPackets(sinkPad.get(), chain->video
                                    ? std::shared_ptr<StreamMeter>(tracks.video, &tracks.video->Meter())
                                    : std::shared_ptr<StreamMeter>(tracks.audio, &tracks.audio->Meter()));
    if (gst_pad_link(pad, sinkPad.get()) != GST_PAD_LINK_OK) LogError("a received stream cannot be linked");
    return bin;
}

}  // namespace webrtc_gstreamer
