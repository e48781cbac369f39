#include <cstring>

#include "webrtc_gstreamer/PeerConnection.h"
#include "webrtc_gstreamer/SteadyTime.h"

namespace webrtc_gstreamer {
namespace {

using vo_webrtc::voStats;

constexpr std::uint32_t kHighestCode = 4;

// Whatever integer type this version of GStreamer chose.
std::int64_t NumberIn(const GstStructure* structure, const char* field) {
    const GValue* value = gst_structure_get_value(structure, field);
    if (value == nullptr) return 0;
    if (G_VALUE_HOLDS_UINT64(value)) return static_cast<std::int64_t>(g_value_get_uint64(value));
    if (G_VALUE_HOLDS_INT64(value)) return g_value_get_int64(value);
    if (G_VALUE_HOLDS_UINT(value)) return g_value_get_uint(value);
    if (G_VALUE_HOLDS_INT(value)) return g_value_get_int(value);
    return 0;
}

}  // namespace

void PeerConnection::DoGetStats(StatsObserver& statsObserver) {
    voStats stats;
    stats.timestampUs = SteadyTimeUs();
    if (pipeline && !IsClosed()) {
        ReadReceivedStreams(stats);
        stats.counter4 = tracks.video->Meter().Decoded();
        stats.stateCode1 = std::min(pipeline->ConnectionState(), kHighestCode);
        stats.stateCode2 = std::min(pipeline->GatheringState(), kHighestCode);
    } else {
        stats = {};
    }
    CallOut("OnStatsDelivered", [&statsObserver, &stats] { statsObserver.OnStatsDelivered(stats); });
}

void PeerConnection::ReadReceivedStreams(voStats& stats) {
    if (previousPipeline) ReadReceivedStreams(*previousPipeline);
    if (pipeline) ReadReceivedStreams(*pipeline);
    const Received sum = received.Sum();
    stats.bytesReceived = sum.bytes;
    stats.counter1 = sum.packets;
    stats.counter3 = sum.packetsLost;
}

void PeerConnection::ReadReceivedStreams(Pipeline& of) {
    const auto reply = of.Statistics();
    const int count = reply ? gst_structure_n_fields(reply.get()) : 0;
    for (int index = 0; index < count; ++index) {
        const gchar* name = gst_structure_nth_field_name(reply.get(), static_cast<guint>(index));
        const GValue* value = gst_structure_get_value(reply.get(), name);
        if (value == nullptr || !GST_VALUE_HOLDS_STRUCTURE(value)) continue;
        const GstStructure* entry = gst_value_get_structure(value);
        GstWebRTCStatsType type{};
        if (gst_structure_get(entry, "type", GST_TYPE_WEBRTC_STATS_TYPE, &type, nullptr) == FALSE) continue;
        if (type != GST_WEBRTC_STATS_INBOUND_RTP) continue;
        const auto ssrc = static_cast<std::uint32_t>(NumberIn(entry, "ssrc"));
        received.Take(ssrc, {NumberIn(entry, "bytes-received"), NumberIn(entry, "packets-received"),
                             NumberIn(entry, "packets-lost")});
    }
}

}  // namespace webrtc_gstreamer
