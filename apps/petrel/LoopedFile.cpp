#include "apps/petrel/LoopedFile.h"

#include <fmt/format.h>

namespace petrel {
namespace {

constexpr GstClockTime kLongestStartNs = 5 * GST_SECOND;

// All streams of the file are known; says so on the bus when none was the one that is wanted.
void OnNoMorePads(GstElement* decoder, gpointer converter) {
    const GstHandle<GstPad> input(gst_element_get_static_pad(GST_ELEMENT(converter), "sink"));
    if (gst_pad_is_linked(input.get())) return;
    gst_element_post_message(
        decoder, gst_message_new_application(GST_OBJECT(decoder), gst_structure_new_empty("no-such-stream")));
}

}  // namespace

std::unique_ptr<LoopedFile> LoopedFile::Open(const std::string& path, const std::string& kind,
                                             const std::string& conversion, std::string& error) {
    std::unique_ptr<LoopedFile> made(new LoopedFile);
    if (!made->Build(path, kind, conversion, error) || !made->WaitForFirst(path, kind, error)) return nullptr;
    return made;
}

LoopedFile::~LoopedFile() {
    if (pipeline != nullptr) gst_element_set_state(pipeline.get(), GST_STATE_NULL);
}

bool LoopedFile::Build(const std::string& path, const std::string& kind, const std::string& conversion,
                       std::string& error) {
    GError* problem = nullptr;
    const GstHandle<gchar> uri(gst_filename_to_uri(path.c_str(), &problem));
    const GstHandle<GError> ownedProblem(problem);
    if (uri == nullptr) {
        error = fmt::format("{} is not the name of a file", path);
        return false;
    }
    const std::string description = fmt::format(
        "uridecodebin name=decoder ! {}convert name=converter ! {} ! "
        "appsink name=out sync=false max-buffers=4 drop=false",
        kind, conversion);
    GError* parseProblem = nullptr;
    GstElement* parsed = gst_parse_launch(description.c_str(), &parseProblem);
    const GstHandle<GError> ownedParseProblem(parseProblem);
    if (parsed != nullptr) pipeline.reset(GST_ELEMENT(gst_object_ref_sink(parsed)));
    if (pipeline == nullptr || parseProblem != nullptr) {
        error = "GStreamer's decoding elements are not installed";
        return false;
    }
    const GstHandle<GstElement> decoder(gst_bin_get_by_name(GST_BIN(pipeline.get()), "decoder"));
    const GstHandle<GstElement> converter(gst_bin_get_by_name(GST_BIN(pipeline.get()), "converter"));
    g_object_set(decoder.get(), "uri", uri.get(), nullptr);
    g_signal_connect_object(decoder.get(), "no-more-pads", G_CALLBACK(OnNoMorePads), converter.get(),
                            GConnectFlags(0));
    sink.reset(GST_APP_SINK(gst_bin_get_by_name(GST_BIN(pipeline.get()), "out")));
    return true;
}

bool LoopedFile::WaitForFirst(const std::string& path, const std::string& kind, std::string& error) {
    gst_element_set_state(pipeline.get(), GST_STATE_PAUSED);
    const GstHandle<GstBus> bus(gst_element_get_bus(pipeline.get()));
    constexpr auto kAwaited =
        static_cast<GstMessageType>(GST_MESSAGE_ASYNC_DONE | GST_MESSAGE_ERROR | GST_MESSAGE_APPLICATION);
    GstMessage* message = gst_bus_timed_pop_filtered(bus.get(), kLongestStartNs, kAwaited);
    if (message == nullptr) {
        error = fmt::format("{} cannot be read: nothing came out of it in time", path);
        return false;
    }
    const GstMessageType type = GST_MESSAGE_TYPE(message);
    if (type == GST_MESSAGE_ERROR) {
        GError* problem = nullptr;
        gst_message_parse_error(message, &problem, nullptr);
        const GstHandle<GError> ownedProblem(problem);
        error = fmt::format("{} cannot be read: {}", path, problem->message);
    } else if (type == GST_MESSAGE_APPLICATION) {
        error = fmt::format("{} cannot be used: there is no {} in it", path, kind);
    }
    gst_message_unref(message);
    if (type != GST_MESSAGE_ASYNC_DONE) return false;

    gint64 duration = 0;
    if (gst_element_query_duration(pipeline.get(), GST_FORMAT_TIME, &duration) && duration > 0) {
        durationNs = duration;
    }
    gst_bus_set_flushing(bus.get(), TRUE);  // nobody reads what comes later
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    return true;
}

GstHandle<GstSample> LoopedFile::Next(std::int64_t maximumWaitNs) {
    return GstHandle<GstSample>(
        gst_app_sink_try_pull_sample(sink.get(), static_cast<GstClockTime>(maximumWaitNs)));
}

bool LoopedFile::AtEnd() const {
    return gst_app_sink_is_eos(sink.get()) != FALSE;
}

void LoopedFile::Rewind() {
    constexpr auto kFlags = static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_KEY_UNIT);
    gst_element_seek_simple(pipeline.get(), GST_FORMAT_TIME, kFlags, 0);
}

}  // namespace petrel
