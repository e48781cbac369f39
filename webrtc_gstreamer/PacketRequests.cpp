#include "webrtc_gstreamer/PacketRequests.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <optional>
#include <vector>

#include "support/annotated_mutex.h"
#include "webrtc_gstreamer/AlarmForecast.h"
#include "webrtc_gstreamer/Crossing.h"
#include "webrtc_gstreamer/GstPointers.h"
#include "webrtc_gstreamer/LossRepair.h"
#include "webrtc_gstreamer/SteadyTime.h"

namespace webrtc_gstreamer {
namespace {

constexpr const char* kKey = "lost-packet-requests";
constexpr std::int64_t kUsPerMs = 1000;
constexpr GstClockTime kNsPerUs = 1000;
// An alarm that is set for about the same time will do.
constexpr std::int64_t kAlarmSlackUs = 500;

// Belongs to the jitter buffer, its probe and its alarm together, and counts them itself: an alarm is set for
// nearly every picture, and may allocate nothing. It rings on the clock's own thread, the one that GStreamer
// has for all of them.
class PacketRequests {
public:
    // Belongs to the caller.
    explicit PacketRequests(GstPad* packets) : clock(gst_system_clock_obtain()) {
        g_weak_ref_init(&pad, packets);
    }
    PacketRequests(const PacketRequests&) = delete;
    PacketRequests& operator=(const PacketRequests&) = delete;

    void Begin() {
        const PadPointer packets(GST_PAD(g_weak_ref_get(&pad)));
        gst_pad_add_probe(
            packets.get(),
            static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_BUFFER_LIST),
            OnPackets, Share(), Release);
    }

    void End() {
        const support::MutexLock lock(mutex);
        ended = true;
        StopAlarm();
    }

    static void Release(gpointer data) {
        const Crossing crossing;
        auto* const self = static_cast<PacketRequests*>(data);
        if (--self->owners == 0) delete self;
    }

private:
    ~PacketRequests() {
        g_weak_ref_clear(&pad);
        gst_object_unref(clock);
    }
    gpointer Share() {
        ++owners;
        return this;
    }

    static GstPadProbeReturn OnPackets(GstPad*, GstPadProbeInfo* probe, gpointer data);
    static gboolean OnAlarm(GstClock*, GstClockTime, GstClockID, gpointer data);
    enum class Kind { Unknown, Picture, Other };
    static Kind KindOf(GstPad* packets, unsigned int payload);
    void Take(GstPad* from, GstBuffer* packet);
    enum class Cause { Packets, Alarm };
    // Asks for what is due, and sets the alarm for the rest.
    void Look(Cause cause);
    void SetAlarm(std::optional<std::int64_t> dueUs, std::int64_t nowUs) REQUIRES(mutex);
    void StopAlarm() REQUIRES(mutex);
    static void Ask(GstPad* pad, std::uint16_t number);

    std::atomic<int> owners{1};
    GWeakRef pad;
    GstClock* const clock;
    support::Mutex mutex;
    LossRepair rule GUARDED_BY(mutex);
    AlarmForecast forecast GUARDED_BY(mutex);
    bool isWaiting GUARDED_BY(mutex) = false;
    GstClockID alarm GUARDED_BY(mutex) = nullptr;
    std::int64_t alarmUs GUARDED_BY(mutex) = 0;
    bool ended GUARDED_BY(mutex) = false;
    Kind kind = Kind::Unknown;  // used on the thread that brings the packets
};

GstPadProbeReturn PacketRequests::OnPackets(GstPad* from, GstPadProbeInfo* probe, gpointer data) {
    const Crossing crossing;
    PacketRequests& self = *static_cast<PacketRequests*>(data);
    if ((GST_PAD_PROBE_INFO_TYPE(probe) & GST_PAD_PROBE_TYPE_BUFFER_LIST) != 0) {
        GstBufferList* list = gst_pad_probe_info_get_buffer_list(probe);
        for (guint index = 0; index < gst_buffer_list_length(list); ++index)
            self.Take(from, gst_buffer_list_get(list, index));
    } else {
        self.Take(from, gst_pad_probe_info_get_buffer(probe));
    }
    self.Look(Cause::Packets);
    return GST_PAD_PROBE_OK;
}

gboolean PacketRequests::OnAlarm(GstClock*, GstClockTime, GstClockID id, gpointer data) {
    const Crossing crossing;
    auto* const self = static_cast<PacketRequests*>(data);
    {
        const support::MutexLock lock(self->mutex);
        if (self->alarm == id) self->StopAlarm();
    }
    self->Look(Cause::Alarm);
    return TRUE;
}

// From whoever tells the jitter buffer itself.
PacketRequests::Kind PacketRequests::KindOf(GstPad* packets, unsigned int payload) {
    const ElementPointer jitterBuffer(gst_pad_get_parent_element(packets));
    GstCaps* described = nullptr;
    if (jitterBuffer) g_signal_emit_by_name(jitterBuffer.get(), "request-pt-map", payload, &described);
    const CapsPointer caps(described);
    if (!caps || gst_caps_get_size(caps.get()) == 0) return Kind::Unknown;
    const gchar* media = gst_structure_get_string(gst_caps_get_structure(caps.get(), 0), "media");
    return g_strcmp0(media, "video") == 0 ? Kind::Picture : Kind::Other;
}

void PacketRequests::Take(GstPad* from, GstBuffer* packet) {
    std::array<std::uint8_t, 4> header{};  // RFC 3550, section 5.1
    if (gst_buffer_extract(packet, 0, header.data(), header.size()) != header.size()) return;
    const auto number = static_cast<std::uint16_t>(header[2] << 8 | header[3]);
    const bool marked = (header[1] & 0x80) != 0;
    if (kind == Kind::Unknown) kind = KindOf(from, header[1] & 0x7f);
    if (kind != Kind::Picture) return;
    const support::MutexLock lock(mutex);
    rule.Arrived(number, marked, SteadyTimeUs());
}

void PacketRequests::Look(Cause cause) {
    std::array<std::uint16_t, LossRepair::kMostMissing> numbers;
    std::size_t count = 0;
    {
        const support::MutexLock lock(mutex);
        if (ended) return;
        const std::int64_t nowUs = SteadyTimeUs();
        const auto dueUs = rule.NextDueUs();
        if (dueUs && *dueUs <= nowUs) {
            const std::vector<std::uint16_t>& due = rule.Due(nowUs);
            count = due.size();
            std::copy(due.begin(), due.end(), numbers.begin());
        }
        auto alarmDueUs = rule.NextDueUs();
        if (alarmDueUs && !isWaiting) forecast.Wanted(*alarmDueUs);
        isWaiting = alarmDueUs.has_value();
        if (!alarmDueUs && cause == Cause::Alarm) alarmDueUs = forecast.AfterRinging(nowUs);
        SetAlarm(alarmDueUs, nowUs);
    }
    if (count == 0) return;
    const PadPointer packets(GST_PAD(g_weak_ref_get(&pad)));
    for (std::size_t index = 0; packets && index < count; ++index)
        Ask(packets.get(), numbers[index]);
}

void PacketRequests::SetAlarm(std::optional<std::int64_t> dueUs, std::int64_t nowUs) {
    // One that rings too early does no harm: it is set again then.
    if (!dueUs || (alarm != nullptr && alarmUs <= *dueUs + kAlarmSlackUs)) return;
    StopAlarm();
    const auto waitUs = static_cast<GstClockTime>(std::max<std::int64_t>(0, *dueUs - nowUs));
    alarm = gst_clock_new_single_shot_id(clock, gst_clock_get_time(clock) + waitUs * kNsPerUs);
    alarmUs = *dueUs;
    gst_clock_id_wait_async(alarm, OnAlarm, Share(), Release);
}

void PacketRequests::StopAlarm() {
    if (alarm == nullptr) return;
    gst_clock_id_unschedule(alarm);
    gst_clock_id_unref(alarm);
    alarm = nullptr;
}

// As the jitter buffer would; the stream is named on the way.
void PacketRequests::Ask(GstPad* pad, std::uint16_t number) {
    GstStructure* wish = gst_structure_new("GstRTPRetransmissionRequest", "seqnum", G_TYPE_UINT,
                                           static_cast<guint>(number), "delay", G_TYPE_UINT, 0U, "deadline",
                                           G_TYPE_UINT, static_cast<guint>(LossRepair::kBudgetUs / kUsPerMs),
                                           "avg-rtt", G_TYPE_UINT, 0U, nullptr);
    gst_pad_push_event(pad, gst_event_new_custom(GST_EVENT_CUSTOM_UPSTREAM, wish));
}

}  // namespace

void RequestLostPackets(GstElement* jitterBuffer) {
    const PadPointer packets(gst_element_get_static_pad(jitterBuffer, "sink"));
    if (!packets) return;
    auto* const requests = new PacketRequests(packets.get());
    requests->Begin();
    g_object_set_data_full(G_OBJECT(jitterBuffer), kKey, requests, [](gpointer data) {
        {
            const Crossing crossing;
            static_cast<PacketRequests*>(data)->End();
        }
        PacketRequests::Release(data);
    });
}

}  // namespace webrtc_gstreamer
