// webrtcbin's queue and a decryption, which does not run: only what reaches it is of interest.
#include "webrtc_gstreamer/DirectPath.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

#include "support/annotated_mutex.h"
#include "webrtc_gstreamer/Crossing.h"
#include "webrtc_gstreamer/GstPointers.h"

namespace webrtc_gstreamer {
namespace {

constexpr std::chrono::seconds kPatience(20);
constexpr gint kNotLeaky = 0;
constexpr gint kDropsOld = 2;

class DirectPathTest : public testing::Test {
protected:
    struct Arrival {
        guint64 number;
        std::thread::id thread;
    };

    DirectPathTest() { gst_init(nullptr, nullptr); }
    ~DirectPathTest() override {
        Pass();
        gst_pad_set_active(arrivals.get(), FALSE);
        gst_element_set_state(queue, GST_STATE_NULL);
        gst_pad_set_active(sockets.get(), FALSE);
    }

    // As webrtcbin begins: nothing may pass yet.
    void Begin(const char* elementAfterQueue = "dtlssrtpdec") {
        bin.reset(GST_ELEMENT(gst_object_ref_sink(gst_bin_new(nullptr))));
        queue = gst_element_factory_make("queue", nullptr);
        GstElement* const next = gst_element_factory_make(elementAfterQueue, nullptr);
        gst_bin_add_many(GST_BIN(bin.get()), queue, next, nullptr);
        gst_element_link_pads(queue, "src", next, "sink");
        last.reset(gst_element_get_static_pad(queue, "src"));
        arrivals.reset(gst_element_get_static_pad(next, "sink"));
        gst_pad_add_probe(arrivals.get(), GST_PAD_PROBE_TYPE_BUFFER, OnArrival, this, nullptr);
        sockets.reset(GST_PAD(gst_object_ref_sink(gst_pad_new("src", GST_PAD_SRC))));
        const PadPointer first(gst_element_get_static_pad(queue, "sink"));
        gst_pad_link(sockets.get(), first.get());
        LeadPacketsPast(queue);
        Hold();
        gst_pad_set_active(sockets.get(), TRUE);
        gst_pad_set_active(arrivals.get(), TRUE);
        gst_element_set_state(queue, GST_STATE_PLAYING);
        gst_pad_push_event(sockets.get(), gst_event_new_stream_start("packets"));
        GstSegment segment;
        gst_segment_init(&segment, GST_FORMAT_TIME);
        gst_pad_push_event(sockets.get(), gst_event_new_segment(&segment));
    }
    // As webrtcbin does, in its order.
    void Hold() {
        g_object_set(queue, "leaky", kDropsOld, nullptr);
        block = gst_pad_add_probe(
            last.get(),
            static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BLOCK | GST_PAD_PROBE_TYPE_DATA_DOWNSTREAM),
            [](GstPad*, GstPadProbeInfo* info, gpointer) {
                return GST_IS_EVENT(info->data) ? GST_PAD_PROBE_DROP : GST_PAD_PROBE_OK;
            },
            nullptr, nullptr);
    }
    void Pass() {
        g_object_set(queue, "leaky", kNotLeaky, nullptr);
        if (block != 0) gst_pad_remove_probe(last.get(), block);
        block = 0;
    }
    static GstBuffer* Packet(guint64 number) {
        GstBuffer* packet = gst_buffer_new_allocate(nullptr, 12, nullptr);
        const Crossing crossing;
        GST_BUFFER_OFFSET(packet) = number;
        return packet;
    }
    void Push(guint64 number) { EXPECT_EQ(gst_pad_push(sockets.get(), Packet(number)), GST_FLOW_OK); }
    // The numbers from the first arrival on; fewer when they do not come in time.
    std::vector<guint64> WaitForArrivals(std::size_t count) {
        const auto deadline = std::chrono::steady_clock::now() + kPatience;
        const support::MutexLock lock(mutex);
        while (arrived.size() < count && changed.WaitUntil(mutex, deadline)) {
        }
        std::vector<guint64> numbers;
        for (const Arrival& one : arrived)
            numbers.push_back(one.number);
        return numbers;
    }
    // Whether this one arrived before its Push returned, and on its thread.
    bool PushArrivesAtOnce(guint64 number) {
        Push(number);
        const support::MutexLock lock(mutex);
        return !arrived.empty() && arrived.back().number == number &&
               arrived.back().thread == std::this_thread::get_id();
    }
    // Until the queue's thread has nothing more to do.
    void WaitUntilQueueIsEmpty() {
        const auto deadline = std::chrono::steady_clock::now() + kPatience;
        guint waiting = 1;
        while (waiting > 0 && std::chrono::steady_clock::now() < deadline) {
            g_object_get(queue, "current-level-buffers", &waiting, nullptr);
            std::this_thread::yield();
        }
    }

    ElementPointer bin;
    GstElement* queue = nullptr;
    PadPointer sockets;
    PadPointer last;
    PadPointer arrivals;
    gulong block = 0;

private:
    static GstPadProbeReturn OnArrival(GstPad*, GstPadProbeInfo* info, gpointer data) {
        const Crossing crossing;
        auto* const self = static_cast<DirectPathTest*>(data);
        const support::MutexLock lock(self->mutex);
        self->arrived.push_back(
            {GST_BUFFER_OFFSET(gst_pad_probe_info_get_buffer(info)), std::this_thread::get_id()});
        self->changed.NotifyAll();
        return GST_PAD_PROBE_DROP;
    }

    support::Mutex mutex;
    support::Condition changed;
    std::vector<Arrival> arrived GUARDED_BY(mutex);
};

TEST_F(DirectPathTest, PacketsGoPastTheQueueOnceItHasPassedItsOwnOn) {
    Begin();
    Push(1);
    Push(2);
    Pass();
    EXPECT_EQ(WaitForArrivals(2), (std::vector<guint64>{1, 2}));
    WaitUntilQueueIsEmpty();
    EXPECT_TRUE(PushArrivesAtOnce(3));
    EXPECT_TRUE(PushArrivesAtOnce(4));
    EXPECT_EQ(WaitForArrivals(4), (std::vector<guint64>{1, 2, 3, 4}));
}

TEST_F(DirectPathTest, NoneOvertakesTheFirstThatWereHeldBack) {
    Begin();
    for (guint64 number = 1; number <= 100; ++number)
        Push(number);
    Pass();
    for (guint64 number = 101; number <= 200; ++number)
        Push(number);
    const std::vector<guint64> numbers = WaitForArrivals(200);
    ASSERT_EQ(numbers.size(), 200U);
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.begin() + 99));
    EXPECT_LE(std::count_if(numbers.begin() + 99, numbers.end(), [](guint64 one) { return one <= 100; }), 1)
        << "the last one at most, which the queue's thread has in its hands";
}

TEST_F(DirectPathTest, WhatIsHeldBackLaterHoldsUpNobody) {
    Begin();
    Push(1);
    Pass();
    WaitForArrivals(1);
    WaitUntilQueueIsEmpty();
    ASSERT_TRUE(PushArrivesAtOnce(2));
    Hold();
    EXPECT_FALSE(PushArrivesAtOnce(3)) << "and comes back here";
    EXPECT_FALSE(PushArrivesAtOnce(4));
    Pass();
    EXPECT_EQ(WaitForArrivals(4), (std::vector<guint64>{1, 2, 3, 4}));
    WaitUntilQueueIsEmpty();
    EXPECT_TRUE(PushArrivesAtOnce(5));
}

TEST_F(DirectPathTest, AnotherQueueIsLeftAlone) {
    Begin("fakesink");
    Push(1);
    Pass();
    WaitForArrivals(1);
    WaitUntilQueueIsEmpty();
    EXPECT_FALSE(PushArrivesAtOnce(2));
    EXPECT_EQ(WaitForArrivals(2), (std::vector<guint64>{1, 2}));
}

}  // namespace
}  // namespace webrtc_gstreamer
