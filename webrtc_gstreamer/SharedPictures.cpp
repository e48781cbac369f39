#include "webrtc_gstreamer/SharedPictures.h"

#include "webrtc_gstreamer/Crossing.h"

namespace webrtc_gstreamer {
namespace {

// The default mapping but for the claim: memory of the system is the same, mapped for reading or for writing.
gboolean MapWithoutClaim(GstVideoMeta* meta, guint plane, GstMapInfo* map, gpointer* data, gint* stride,
                         GstMapFlags) {
    const Crossing crossing;
    guint index = 0;
    guint length = 0;
    gsize skip = 0;
    if (gst_buffer_find_memory(meta->buffer, meta->offset[plane], 1, &index, &length, &skip) == FALSE ||
        gst_buffer_map_range(meta->buffer, index, static_cast<gint>(length), map, GST_MAP_READ) == FALSE) {
        return FALSE;
    }
    *data = map->data + skip;
    *stride = meta->stride[plane];
    return TRUE;
}

gboolean Unmap(GstVideoMeta* meta, guint, GstMapInfo* map) {
    gst_buffer_unmap(meta->buffer, map);
    return TRUE;
}

GstFlowReturn AllocateBuffer(GstBufferPool* pool, GstBuffer** buffer,
                             GstBufferPoolAcquireParams* parameters) {
    const Crossing crossing;
    const auto* parent = static_cast<GstBufferPoolClass*>(g_type_class_peek(GST_TYPE_VIDEO_BUFFER_POOL));
    const GstFlowReturn flow = parent->alloc_buffer(pool, buffer, parameters);
    GstVideoMeta* meta = flow == GST_FLOW_OK ? gst_buffer_get_video_meta(*buffer) : nullptr;
    if (meta != nullptr) {
        meta->map = MapWithoutClaim;
        meta->unmap = Unmap;
    }
    return flow;
}

void InitClass(gpointer poolClass, gpointer) {
    static_cast<GstBufferPoolClass*>(poolClass)->alloc_buffer = AllocateBuffer;
}

GType PoolType() {
    static const GType type = g_type_register_static_simple(
        GST_TYPE_VIDEO_BUFFER_POOL, "VoSharedPicturePool", sizeof(GstVideoBufferPoolClass), InitClass,
        sizeof(GstVideoBufferPool), nullptr, static_cast<GTypeFlags>(0));
    return type;
}

}  // namespace

void AnswerAllocation(GstQuery* query) {
    gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
    GstCaps* caps = nullptr;
    gst_query_parse_allocation(query, &caps, nullptr);
    GstVideoInfo info;
    if (caps == nullptr || gst_video_info_from_caps(&info, caps) == FALSE) return;
    GstObject* pool = GST_OBJECT(gst_object_ref_sink(g_object_new(PoolType(), nullptr)));
    gst_query_add_allocation_pool(query, GST_BUFFER_POOL(pool), static_cast<guint>(info.size), 0, 0);
    gst_object_unref(pool);
}

}  // namespace webrtc_gstreamer
