#include "webrtc_gstreamer/ReceiveBuffers.h"

#include <gio/gio.h>
#include <sys/socket.h>

#include "webrtc_gstreamer/Crossing.h"

namespace webrtc_gstreamer {
namespace {

// RTP and RTCP share one component (RFC 5761).
constexpr guint kComponent = 1;

void OnGathered(NiceAgent* agent, guint stream, gpointer) {
    const Crossing crossing;
    GPtrArray* sockets = nice_agent_get_sockets(agent, stream, kComponent);
    if (sockets == nullptr) return;
    for (guint index = 0; index < sockets->len; ++index) {
        // A system that refuses it has the sockets that it had.
        g_socket_set_option(G_SOCKET(g_ptr_array_index(sockets, index)), SOL_SOCKET, SO_RCVBUF,
                            kReceiveBufferBytes, nullptr);
    }
    g_ptr_array_unref(sockets);
}

}  // namespace

void EnlargeReceiveBuffers(NiceAgent& agent) {
    g_signal_connect(&agent, "candidate-gathering-done", G_CALLBACK(OnGathered), nullptr);
}

}  // namespace webrtc_gstreamer
