#include "webrtc_gstreamer/RelayRelease.h"

namespace webrtc_gstreamer {
namespace {

constexpr guint kLongestWaitMs = 500;

}  // namespace

// The answer comes in the main context of the caller: one of its own, since nobody else runs any here.
void ReleaseRelays(NiceAgent& agent) {
    GMainContext* const context = g_main_context_new();
    g_main_context_push_thread_default(context);
    gboolean done = FALSE;
    nice_agent_close_async(
        &agent, [](GObject*, GAsyncResult*, gpointer flag) { *static_cast<gboolean*>(flag) = TRUE; }, &done);
    gboolean late = FALSE;
    GSource* const limit = g_timeout_source_new(kLongestWaitMs);
    g_source_set_callback(
        limit,
        [](gpointer flag) {
            *static_cast<gboolean*>(flag) = TRUE;
            return gboolean{G_SOURCE_REMOVE};
        },
        &late, nullptr);
    g_source_attach(limit, context);
    while (done == FALSE && late == FALSE)
        g_main_context_iteration(context, TRUE);
    g_source_destroy(limit);
    g_source_unref(limit);
    g_main_context_pop_thread_default(context);
    g_main_context_unref(context);
}

}  // namespace webrtc_gstreamer
