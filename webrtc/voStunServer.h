#pragma once

namespace vo_webrtc {

// One ICE server: a STUN or TURN URL (RFC 7064, RFC 7065). Texts are never null and need to live only
// for the call that they are passed to.
struct voStunServer {
    const char* url = "";
    const char* username = "";
    const char* password = "";
};

}  // namespace vo_webrtc
