#include "apps/petrel/Retransmitter.h"

#include <gst/rtp/rtp.h>
#include <gtest/gtest.h>

#include <vector>

namespace petrel {
namespace {

constexpr std::uint32_t kStream = 0x12345678;

GstHandle<GstBuffer> Packet(std::uint16_t number, std::uint32_t ssrc = kStream) {
    GstHandle<GstBuffer> packet(gst_rtp_buffer_new_allocate(100, 0, 0));
    GstRTPBuffer mapped = GST_RTP_BUFFER_INIT;
    gst_rtp_buffer_map(packet.get(), GST_MAP_WRITE, &mapped);
    gst_rtp_buffer_set_seq(&mapped, number);
    gst_rtp_buffer_set_ssrc(&mapped, ssrc);
    gst_rtp_buffer_unmap(&mapped);
    return packet;
}

// A payloader's output and what stands behind it.
class Sending {
public:
    explicit Sending(GstElement* encryption = nullptr) {
        gst_pad_set_chain_function(network.get(), [](GstPad* pad, GstObject*, GstBuffer* packet) {
            static_cast<Sending*>(gst_pad_get_element_private(pad))->arrived.emplace_back(packet);
            return GST_FLOW_OK;
        });
        gst_pad_set_element_private(network.get(), this);
        gst_pad_set_active(network.get(), TRUE);
        gst_pad_set_active(output.get(), TRUE);
        if (encryption == nullptr) {
            gst_pad_link(output.get(), network.get());
        } else {
            const GstHandle<GstPad> plain(gst_element_request_pad_simple(encryption, "rtp_sink_0"));
            const GstHandle<GstPad> coded(gst_element_get_static_pad(encryption, "rtp_src_0"));
            gst_pad_link(output.get(), plain.get());
            gst_pad_link(coded.get(), network.get());
            gst_element_set_state(encryption, GST_STATE_PLAYING);
        }
        gst_pad_push_event(output.get(), gst_event_new_stream_start("stream"));
        const GstHandle<GstCaps> caps(
            gst_caps_from_string("application/x-rtp,payload=96,ssrc=(uint)0x12345678"));
        gst_pad_push_event(output.get(), gst_event_new_caps(caps.get()));
        GstSegment segment;
        gst_segment_init(&segment, GST_FORMAT_TIME);
        gst_pad_push_event(output.get(), gst_event_new_segment(&segment));
    }

    GstHandle<GstPad> output =
        GstHandle<GstPad>(GST_PAD(gst_object_ref_sink(gst_pad_new("output", GST_PAD_SRC))));
    GstHandle<GstPad> network =
        GstHandle<GstPad>(GST_PAD(gst_object_ref_sink(gst_pad_new("network", GST_PAD_SINK))));
    std::vector<GstHandle<GstBuffer>> arrived;

    void Lose(unsigned int number) {
        GstStructure* wish = gst_structure_new("GstRTPRetransmissionRequest", "seqnum", G_TYPE_UINT, number,
                                               "ssrc", G_TYPE_UINT, kStream, nullptr);
        gst_pad_push_event(network.get(), gst_event_new_custom(GST_EVENT_CUSTOM_UPSTREAM, wish));
    }
};

class RetransmitterTest : public testing::Test {
protected:
    static void SetUpTestSuite() { gst_init(nullptr, nullptr); }
};

TEST_F(RetransmitterTest, FindsWhatWasSentLast) {
    const auto retransmitter = std::make_unique<Retransmitter>();
    for (unsigned int number = 60'000; number < 70'000; ++number)
        retransmitter->Keep(Packet(static_cast<std::uint16_t>(number)).get());
    retransmitter->Keep(Packet(static_cast<std::uint16_t>(69'998), kStream + 1).get());
    EXPECT_TRUE(retransmitter->Find(kStream, static_cast<std::uint16_t>(69'999)));
    EXPECT_TRUE(retransmitter->Find(kStream, static_cast<std::uint16_t>(70'000 - 2048)));
    EXPECT_FALSE(retransmitter->Find(kStream, static_cast<std::uint16_t>(70'000 - 2049))) << "too long ago";
    EXPECT_FALSE(retransmitter->Find(kStream, static_cast<std::uint16_t>(70'000))) << "never sent";
    EXPECT_FALSE(retransmitter->Find(kStream + 1, static_cast<std::uint16_t>(69'999))) << "of another stream";
}

TEST_F(RetransmitterTest, SendsALostPacketAgainAtOnce) {
    Sending sending;
    Retransmitter::AttachTo(sending.output.get());
    gst_pad_push(sending.output.get(), Packet(1).release());
    GstBufferList* list = gst_buffer_list_new();
    gst_buffer_list_add(list, Packet(2).release());
    gst_buffer_list_add(list, Packet(3).release());
    gst_pad_push_list(sending.output.get(), list);
    ASSERT_EQ(sending.arrived.size(), 3U);
    sending.Lose(2);
    ASSERT_EQ(sending.arrived.size(), 4U);
    EXPECT_EQ(sending.arrived[3].get(), sending.arrived[1].get()) << "the very packet";
    sending.Lose(9);
    EXPECT_EQ(sending.arrived.size(), 4U) << "was never sent";
}

// The encryption of a connection, with a key of its own.
GstHandle<GstElement> Encryption() {
    GstHandle<GstElement> encryption(
        GST_ELEMENT(gst_object_ref_sink(gst_element_factory_make("srtpenc", nullptr))));
    constexpr gsize kKeyBytes = 30;  // RFC 3711: a key of 16 bytes and a salt of 14
    const GstHandle<GstBuffer> key(gst_buffer_new_allocate(nullptr, kKeyBytes, nullptr));
    gst_buffer_memset(key.get(), 0, 7, kKeyBytes);
    g_object_set(encryption.get(), "key", key.get(), nullptr);
    return encryption;
}

TEST_F(RetransmitterTest, EncryptsOnceMoreWhateverIsKept) {
    constexpr unsigned int kSent = 3000;
    constexpr unsigned int kOldestKept = kSent - 2048;
    const GstHandle<GstElement> encryption = Encryption();
    Retransmitter::Allow(encryption.get());
    Sending sending(encryption.get());
    Retransmitter::AttachTo(sending.output.get());

    for (unsigned int number = 0; number < kSent; ++number)
        ASSERT_EQ(gst_pad_push(sending.output.get(), Packet(static_cast<std::uint16_t>(number)).release()),
                  GST_FLOW_OK);
    ASSERT_EQ(sending.arrived.size(), kSent);
    sending.Lose(kOldestKept);
    EXPECT_EQ(sending.arrived.size(), kSent + 1);
    EXPECT_EQ(gst_pad_push(sending.output.get(), Packet(kSent).release()), GST_FLOW_OK);
    gst_element_set_state(encryption.get(), GST_STATE_NULL);
}

}  // namespace
}  // namespace petrel
