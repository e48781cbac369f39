// An offer as the library makes it, in the words of RFC 8866.
#pragma once

#include <string>

#include "webrtc_gstreamer/OfferCaps.h"

namespace webrtc_gstreamer {

inline constexpr const char* kOfferFingerprint =
    "sha-256 3E:FE:DB:2F:FE:DF:91:10:72:4D:EA:58:28:A5:71:F9:DD:5F:5F:2E:B4:C8:DC:1B:1E:6A:D7:72:9D:37:56:84";

inline std::string SectionText(const std::string& line, const std::string& mid, const std::string& rest) {
    return line + "\r\nc=IN IP4 0.0.0.0\r\na=mid:" + mid + "\r\na=rtcp-mux\r\n" + rest;
}

inline std::string OfferText() {
    return "v=0\r\no=- 1 0 IN IP4 0.0.0.0\r\ns=-\r\nt=0 0\r\na=group:BUNDLE video0 "
           "audio1\r\na=setup:actpass\r\n"
           "a=ice-ufrag:abcd\r\na=ice-pwd:abcdefghijklmnopqrstuv\r\na=fingerprint:" +
           std::string(kOfferFingerprint) + "\r\n" +
           SectionText("m=video 9 UDP/TLS/RTP/SAVPF 96 97", "video0",
                       "a=recvonly\r\na=rtpmap:96 H264/90000\r\na=fmtp:96 "
                       "packetization-mode=1;profile-level-id=42e034\r\n"
                       "a=rtcp-fb:96 nack\r\na=rtcp-fb:96 nack pli\r\na=rtpmap:97 VP8/90000\r\na=extmap:1 " +
                           std::string(kTransportWideCcUri) + "\r\n") +
           SectionText("m=audio 0 UDP/TLS/RTP/SAVPF 111", "audio1",
                       "a=bundle-only\r\na=recvonly\r\na=rtpmap:111 OPUS/48000/2\r\n");
}

}  // namespace webrtc_gstreamer
