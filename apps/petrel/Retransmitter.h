// Sends lost packets again as they were, for a client that says what it lost (RFC 4585) but agreed on no
// stream of its own for what is sent again (RFC 4588).
#pragma once

#include <gst/gst.h>

#include <array>
#include <cstdint>
#include <map>

#include "apps/petrel/GstHandles.h"
#include "support/annotated_mutex.h"

namespace petrel {

class Retransmitter {
public:
    // Where packets of any streams leave towards the RTP session, behind everything that would swallow a
    // client's wish; lives as long as that pad does.
    static void AttachTo(GstPad* packets);
    // Lets the encryption of a connection take a packet for the second time, however old it is.
    static void Allow(GstElement* encryption);

    // [any-thread] A packet that is being sent.
    void Keep(GstBuffer* packet);
    // [any-thread] Null when it was never sent or is too long ago.
    GstHandle<GstBuffer> Find(std::uint32_t ssrc, std::uint16_t sequenceNumber);

private:
    static GstPadProbeReturn OnProbe(GstPad* pad, GstPadProbeInfo* info, gpointer data);

    struct Kept {
        std::uint16_t sequenceNumber = 0;
        GstHandle<GstBuffer> packet;
    };
    // More than a second of a fast stream, and less than half of all sequence numbers.
    static constexpr std::size_t kKeptPackets = 2048;
    // How far back the encryption knows what it has seen (RFC 3711, section 3.3.2). A packet from before that
    // is an error, which would end the stream; others may be sent while one is looked up.
    static constexpr unsigned int kReplayWindow = 2 * kKeptPackets;

    support::Mutex mutex;
    using Stream = std::array<Kept, kKeptPackets>;              // by sequence number modulo its size
    std::map<std::uint32_t, Stream> streams GUARDED_BY(mutex);  // by SSRC
};

}  // namespace petrel
