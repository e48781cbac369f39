#include "webrtc_gstreamer/OfferCaps.h"

#include <algorithm>
#include <array>
#include <string>

namespace webrtc_gstreamer {
namespace {

std::string VideoFormat(int payload, const std::string& encoding, const std::string& parameters) {
    return "application/x-rtp,media=(string)video,clock-rate=(int)90000,payload=(int)" +
           std::to_string(payload) + ",encoding-name=(string)" + encoding + parameters +
           ",rtcp-fb-nack=(boolean)true,rtcp-fb-nack-pli=(boolean)true,rtcp-fb-ccm-fir=(boolean)true"
           ",rtcp-fb-transport-cc=(boolean)true,extmap-1=(string)" +
           kTransportWideCcUri;
}

CapsPointer Parsed(const std::string& text) {
    return CapsPointer(gst_caps_from_string(text.c_str()));
}

}  // namespace

CapsPointer OfferedVideoCaps() {
    // Constrained baseline is what every phone encodes. The level is an upper limit for the sender: 5.2.
    const std::string h264 =
        ",packetization-mode=(string)1,profile-level-id=(string)42e034,level-asymmetry-allowed=(string)1";
    return Parsed(VideoFormat(96, "H264", h264) + ";" + VideoFormat(97, "VP8", "") + ";" +
                  VideoFormat(98, "VP9", ",profile-id=(string)0"));
}

CapsPointer OfferedAudioCaps() {
    return Parsed(
        "application/x-rtp,media=(string)audio,encoding-name=(string)OPUS,clock-rate=(int)48000,"
        "encoding-params=(string)2,payload=(int)111,minptime=(string)10,useinbandfec=(string)1,stereo=("
        "string)1");
}

bool CanReceive(std::string_view kind, std::string_view encoding) {
    static constexpr std::array<std::string_view, 3> kVideo = {"H264", "VP8", "VP9"};
    const auto same = [encoding](std::string_view known) {
        return known.size() == encoding.size() &&
               g_ascii_strncasecmp(known.data(), encoding.data(), known.size()) == 0;
    };
    if (kind == "audio") return same("OPUS");
    return kind == "video" && std::any_of(kVideo.begin(), kVideo.end(), same);
}

CapsPointer CapsFor(const MediaSection& section) {
    CapsPointer caps(gst_caps_new_empty());
    for (const PayloadFormat& format : section.formats) {
        const TextPointer encoding(g_ascii_strup(format.encoding.c_str(), -1));
        GstStructure* structure =
            gst_structure_new("application/x-rtp", "media", G_TYPE_STRING, section.kind.c_str(), "payload",
                              G_TYPE_INT, format.payload, "clock-rate", G_TYPE_INT, format.clockRate,
                              "encoding-name", G_TYPE_STRING, encoding.get(), nullptr);
        for (const HeaderExtension& extension : section.extensions) {
            gst_structure_set(structure, ("extmap-" + std::to_string(extension.id)).c_str(), G_TYPE_STRING,
                              extension.uri.c_str(), nullptr);
        }
        gst_caps_append_structure(caps.get(), structure);
    }
    return caps;
}

void CompleteFeedback(GstSDPMessage& description) {
    for (guint index = 0; index < gst_sdp_message_medias_len(&description); ++index) {
        auto* media = const_cast<GstSDPMedia*>(gst_sdp_message_get_media(&description, index));
        if (std::string_view(gst_sdp_media_get_media(media)) != "video") continue;
        for (guint format = 0; format < gst_sdp_media_formats_len(media); ++format) {
            const std::string wanted = std::string(gst_sdp_media_get_format(media, format)) + " nack";
            bool present = false;
            for (guint nth = 0; const gchar* value = gst_sdp_media_get_attribute_val_n(media, "rtcp-fb", nth);
                 ++nth)
                present = present || wanted == value;
            if (!present) gst_sdp_media_add_attribute(media, "rtcp-fb", wanted.c_str());
        }
    }
}

}  // namespace webrtc_gstreamer
