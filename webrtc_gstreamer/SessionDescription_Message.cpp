#include <array>

#include "webrtc_gstreamer/SessionDescription.h"

namespace webrtc_gstreamer {
namespace {

const char* NameOf(Direction direction) {
    switch (direction) {
        case Direction::SendReceive:
            return "sendrecv";
        case Direction::SendOnly:
            return "sendonly";
        case Direction::ReceiveOnly:
            return "recvonly";
        case Direction::Inactive:
            break;
    }
    return "inactive";
}

void AddFormat(GstSDPMedia* media, const PayloadFormat& format) {
    const std::string payload = std::to_string(format.payload);
    gst_sdp_media_add_format(media, payload.c_str());
    std::string map = payload + " " + format.encoding + "/" + std::to_string(format.clockRate);
    if (!format.encodingParameters.empty()) map += "/" + format.encodingParameters;
    if (!format.encoding.empty()) gst_sdp_media_add_attribute(media, "rtpmap", map.c_str());
    std::string parameters;
    for (const std::string& parameter : format.parameters)
        parameters += (parameters.empty() ? payload + " " : ";") + parameter;
    if (!parameters.empty()) gst_sdp_media_add_attribute(media, "fmtp", parameters.c_str());
    for (const std::string& feedback : format.feedback)
        gst_sdp_media_add_attribute(media, "rtcp-fb", (payload + " " + feedback).c_str());
}

void AddSection(GstSDPMessage* message, const MediaSection& section) {
    GstSDPMedia* media = nullptr;
    gst_sdp_media_new(&media);
    gst_sdp_media_set_media(media, section.kind.c_str());
    gst_sdp_media_set_port_info(media, section.rejected ? 0 : 9, 0);
    gst_sdp_media_set_proto(media, section.protocol.c_str());
    gst_sdp_media_add_connection(media, "IN", "IP4", "0.0.0.0", 0, 0);
    const auto add = [media](const char* key, const std::string& value) {
        gst_sdp_media_add_attribute(media, key, value.c_str());
    };
    add("mid", section.mid);
    add("setup", section.setup);
    add("ice-ufrag", section.iceUfrag);
    add("ice-pwd", section.icePwd);
    add("fingerprint", section.fingerprint);
    add(NameOf(section.direction), "");
    add("rtcp-mux", "");
    add("rtcp-rsize", "");
    for (const PayloadFormat& format : section.formats)
        AddFormat(media, format);
    for (const HeaderExtension& extension : section.extensions)
        add("extmap", std::to_string(extension.id) + " " + extension.uri);
    for (const std::uint32_t ssrc : section.ssrcs)
        add("ssrc", std::to_string(ssrc) + " cname:remote");
    gst_sdp_message_add_media(message, media);
    gst_sdp_media_free(media);
}

}  // namespace

SdpMessagePointer ToMessage(const SessionDescription& description) {
    GstSDPMessage* message = nullptr;
    gst_sdp_message_new(&message);
    SdpMessagePointer owned(message);
    gst_sdp_message_set_version(message, "0");
    gst_sdp_message_set_origin(message, "-", "1", "1", "IN", "IP4", "0.0.0.0");
    gst_sdp_message_set_session_name(message, "-");
    gst_sdp_message_add_time(message, "0", "0", nullptr);
    std::string bundle = "BUNDLE";
    for (const std::string& mid : description.bundle)
        bundle += " " + mid;
    if (!description.bundle.empty()) gst_sdp_message_add_attribute(message, "group", bundle.c_str());
    for (const MediaSection& section : description.media)
        AddSection(message, section);
    return owned;
}

}  // namespace webrtc_gstreamer
