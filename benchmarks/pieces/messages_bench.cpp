// An offer as a message: made from a description of the usual length, and read back.
#include <benchmark/benchmark.h>

#include <nlohmann/json.hpp>
#include <string>

#include "connection/connection_messages.h"

namespace benchmarks {
namespace {

// As the engine writes it for one picture and one sound; the key's fingerprint is made up.
std::string OfferedDescription() {
    const std::string transport =
        "c=IN IP4 0.0.0.0\r\n"
        "a=setup:actpass\r\n"
        "a=ice-ufrag:Wq0sLZ3n1Xh2ZrKJc9eT0uYbVtq5Pp1m\r\n"
        "a=ice-pwd:3jJmYc6QdZk1fR0nXo8tSgVw2LhBqE7a\r\n"
        "a=rtcp-mux\r\n"
        "a=rtcp-rsize\r\n"
        "a=recvonly\r\n";
    const std::string fingerprint =
        "a=fingerprint:sha-256 5B:1F:0C:77:A2:9D:E4:30:16:88:CB:5E:F1:42:93:D7:2A:6C:B0:1E:84:F9:3D:57:"
        "C6:0B:A8:E2:71:4F:95:D3\r\n";
    std::string text =
        "v=0\r\no=- 4611731400430051336 0 IN IP4 0.0.0.0\r\ns=-\r\nt=0 0\r\na=ice-options:trickle\r\n"
        "a=group:BUNDLE video0 audio1\r\nm=video 9 UDP/TLS/RTP/SAVPF 96 97 98 99\r\n" +
        transport;
    for (const char* format : {"96 H264", "97 VP8", "98 VP9"}) {
        const std::string payload(format, 2);
        text += "a=rtpmap:" + std::string(format) + "/90000\r\n";
        for (const char* feedback : {"nack", "nack pli", "ccm fir", "transport-cc"})
            text += "a=rtcp-fb:" + payload + " " + feedback + "\r\n";
    }
    text +=
        "a=fmtp:96 packetization-mode=1;profile-level-id=42e034;level-asymmetry-allowed=1\r\n"
        "a=fmtp:98 profile-id=0\r\n"
        "a=rtpmap:99 rtx/90000\r\na=fmtp:99 apt=96\r\n"
        "a=extmap:1 http://www.ietf.org/id/draft-holmer-rmcat-transport-wide-cc-extensions-01\r\n"
        "a=mid:video0\r\n" +
        fingerprint + "m=audio 0 UDP/TLS/RTP/SAVPF 111\r\n" + transport +
        "a=bundle-only\r\na=rtpmap:111 OPUS/48000/2\r\na=fmtp:111 minptime=10;useinbandfec=1;stereo=1\r\n"
        "a=mid:audio1\r\n" +
        fingerprint;
    return text;
}

void OfferMessage(benchmark::State& state) {
    const std::string description = OfferedDescription();
    const connection_messages::Addressing addressing{"0D3A1B52-5C3F-4E0A-9B61-4A6B7C2F9E10",
                                                     "d388a035-6712-552b-8c0b-bdbc44f91f6a"};
    for (auto _ : state) {
        const std::string message = connection_messages::Offer(addressing, description.c_str(), "offer");
        const nlohmann::json read = nlohmann::json::parse(message);
        for (const char* key : {"action", "sessionGuid", "peersIdentifier", "sdp", "type"}) {
            std::string value = read.value(key, std::string());
            benchmark::DoNotOptimize(value);
        }
    }
}
BENCHMARK(OfferMessage)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace benchmarks
