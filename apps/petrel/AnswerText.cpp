#include <fmt/format.h>

#include "apps/petrel/OfferPlan.h"

namespace petrel {
namespace {

constexpr std::size_t kMaximumCandidateBytes = 512;

void AddRejected(GstSDPMessage* answer, const OfferedMedia& media) {
    GstSDPMedia* section = nullptr;
    gst_sdp_media_new(&section);
    gst_sdp_media_set_media(section, media.mediaName.c_str());
    gst_sdp_media_set_port_info(section, 0, 0);
    gst_sdp_media_set_proto(section, media.protocol.c_str());
    gst_sdp_media_add_format(section, media.firstFormat.c_str());
    gst_sdp_media_add_connection(section, "IN", "IP4", "0.0.0.0", 0, 0);
    gst_sdp_media_add_attribute(section, "mid", media.mid.c_str());
    gst_sdp_media_add_attribute(section, "inactive", nullptr);
    gst_sdp_message_add_media(answer, section);
    gst_sdp_media_free(section);
}

void AddFromEngine(GstSDPMessage* answer, const GstSDPMessage* engineAnswer, int index) {
    GstSDPMedia* copy = nullptr;
    gst_sdp_media_copy(gst_sdp_message_get_media(engineAnswer, static_cast<guint>(index)), &copy);
    gst_sdp_message_add_media(answer, copy);
    gst_sdp_media_free(copy);
}

}  // namespace

std::string ComposeAnswer(const OfferPlan& plan, const GstSDPMessage* engineAnswer) {
    GstSDPMessage* made = nullptr;
    gst_sdp_message_new(&made);
    const GstHandle<GstSDPMessage> answer(made);
    gst_sdp_message_set_version(made, "0");
    gst_sdp_message_set_origin(made, "-", "1", "1", "IN", "IP4", "0.0.0.0");
    gst_sdp_message_set_session_name(made, "-");
    gst_sdp_message_add_time(made, "0", "0", nullptr);
    const char* group =
        engineAnswer != nullptr ? gst_sdp_message_get_attribute_val(engineAnswer, "group") : nullptr;
    if (group != nullptr) gst_sdp_message_add_attribute(made, "group", group);

    for (std::size_t index = 0; index < plan.media.size(); ++index) {
        const int engineIndex = plan.EngineIndex(index);
        if (engineAnswer != nullptr && engineIndex >= 0 &&
            static_cast<guint>(engineIndex) < gst_sdp_message_medias_len(engineAnswer)) {
            AddFromEngine(made, engineAnswer, engineIndex);
        } else {
            AddRejected(made, plan.media[index]);
        }
    }
    const GstHandle<gchar> text(gst_sdp_message_as_text(made));
    return text.get();
}

std::optional<std::string> CleanCandidate(std::string_view text) {
    if (text.starts_with("a=")) text.remove_prefix(2);
    if (!text.starts_with("candidate:") || text.size() > kMaximumCandidateBytes) return std::nullopt;
    for (const char c : text) {
        if (c < 0x20 || c >= 0x7F) return std::nullopt;
    }
    // Foundation, component, transport, priority, address, port, "typ" and the type (RFC 8839 section 5.1).
    std::size_t fields = 1;
    for (const char c : text)
        fields += c == ' ' ? 1 : 0;
    if (fields < 8 || text.find(" typ ") == std::string_view::npos) return std::nullopt;
    return std::string(text);
}

}  // namespace petrel
