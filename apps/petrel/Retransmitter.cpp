#include "apps/petrel/Retransmitter.h"

#include <gst/rtp/rtp.h>

#include <optional>
#include <utility>

namespace petrel {
namespace {

struct Label {
    std::uint32_t ssrc;
    std::uint16_t sequenceNumber;
};

std::optional<Label> LabelOf(GstBuffer* packet) {
    GstRTPBuffer mapped = GST_RTP_BUFFER_INIT;
    if (!gst_rtp_buffer_map(packet, GST_MAP_READ, &mapped)) return std::nullopt;
    const Label label{gst_rtp_buffer_get_ssrc(&mapped), gst_rtp_buffer_get_seq(&mapped)};
    gst_rtp_buffer_unmap(&mapped);
    return label;
}

}  // namespace

void Retransmitter::AttachTo(GstPad* packets) {
    constexpr auto kWatched = static_cast<GstPadProbeType>(
        GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_BUFFER_LIST | GST_PAD_PROBE_TYPE_EVENT_UPSTREAM);
    gst_pad_add_probe(packets, kWatched, OnProbe, new Retransmitter,
                      [](gpointer data) { delete static_cast<Retransmitter*>(data); });
}

void Retransmitter::Allow(GstElement* encryption) {
    g_object_set(encryption, "allow-repeat-tx", TRUE, "replay-window-size", kReplayWindow, nullptr);
}

void Retransmitter::Keep(GstBuffer* packet) {
    const std::optional<Label> label = LabelOf(packet);
    if (!label) return;
    GstHandle<GstBuffer> replaced(gst_buffer_ref(packet));
    const support::MutexLock lock(mutex);
    Kept& place = streams[label->ssrc][label->sequenceNumber % kKeptPackets];
    place.sequenceNumber = label->sequenceNumber;
    std::swap(place.packet, replaced);
}

GstHandle<GstBuffer> Retransmitter::Find(std::uint32_t ssrc, std::uint16_t sequenceNumber) {
    const support::MutexLock lock(mutex);
    const auto stream = streams.find(ssrc);
    if (stream == streams.end()) return nullptr;
    const Kept& place = stream->second[sequenceNumber % kKeptPackets];
    if (place.packet == nullptr || place.sequenceNumber != sequenceNumber) return nullptr;
    return GstHandle<GstBuffer>(gst_buffer_ref(place.packet.get()));
}

GstPadProbeReturn Retransmitter::OnProbe(GstPad* pad, GstPadProbeInfo* info, gpointer data) {
    auto* self = static_cast<Retransmitter*>(data);
    if ((GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER) != 0) {
        self->Keep(GST_PAD_PROBE_INFO_BUFFER(info));
        return GST_PAD_PROBE_OK;
    }
    if ((GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER_LIST) != 0) {
        GstBufferList* list = GST_PAD_PROBE_INFO_BUFFER_LIST(info);
        for (guint index = 0; index < gst_buffer_list_length(list); ++index)
            self->Keep(gst_buffer_list_get(list, index));
        return GST_PAD_PROBE_OK;
    }
    const GstStructure* wish = gst_event_get_structure(GST_PAD_PROBE_INFO_EVENT(info));
    guint ssrc = 0;
    guint number = 0;
    if (wish == nullptr || !gst_structure_has_name(wish, "GstRTPRetransmissionRequest") ||
        !gst_structure_get_uint(wish, "ssrc", &ssrc) || !gst_structure_get_uint(wish, "seqnum", &number)) {
        return GST_PAD_PROBE_OK;
    }
    // From the thread that read the wish: the next picture may be long in coming.
    if (GstHandle<GstBuffer> packet = self->Find(ssrc, static_cast<std::uint16_t>(number)))
        gst_pad_push(pad, packet.release());
    return GST_PAD_PROBE_DROP;
}

}  // namespace petrel
