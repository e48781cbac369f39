#include "webrtc_gstreamer/IceCandidate.h"

#include <gtest/gtest.h>

namespace webrtc_gstreamer {
namespace {

TEST(IceCandidate, UsableOnes) {
    for (const char* text :
         {"candidate:1 1 UDP 2015363327 192.0.2.2 43283 typ host",
          "candidate:1 1 udp 2015363327 fd00::2 43283 typ host generation 0 ufrag abcd",
          "a=candidate:842163049 1 udp 1677729535 198.51.100.1 51 typ srflx raddr 0.0.0.0 rport 0\r\n",
          "1 1 udp 1 0b9d4b3a-1f0c-4f0a-9a51-5d3bd7a5c111.local 5 typ host",
          "candidate:1 1 udp 1 192.0.2.9 5 typ relay raddr 192.0.2.2 rport 9"}) {
        EXPECT_EQ(Classify(text), CandidateKind::Usable) << text;
        EXPECT_TRUE(Normalised(text).starts_with("candidate:"));
        EXPECT_EQ(Normalised(text).find("a="), std::string::npos);
        EXPECT_EQ(Normalised(text).find('\r'), std::string::npos);
    }
}

TEST(IceCandidate, EndSignsAndOtherTransportsAreIgnored) {
    for (const char* text :
         {"", "candidate:", "a=candidate:", "candidate:1 1 tcp 1 192.0.2.2 9 typ host tcptype active"})
        EXPECT_EQ(Classify(text), CandidateKind::Ignored) << text;
}

TEST(IceCandidate, MalformedOnesAreBad) {
    for (const char* text :
         {"x", "candidate:1 1 UDP 1 192.0.2.2 43283 typ", "candidate:1 0 UDP 1 192.0.2.2 4 typ host",
          "candidate:1 1 UDP 4294967296 192.0.2.2 4 typ host", "candidate:1 1 UDP 1 192.0.2.2 65536 typ host",
          "candidate:1 1 UDP 1 192.0.2.2 -4 typ host", "candidate:1 1 UDP 1 192.0.2.2 4 typ other",
          "candidate:1 1 UDP 1 192.0.2.2 4 kind host", "candidate:1 1 UDP 1 a/b 4 typ host",
          "candidate:123456789012345678901234567890123 1 UDP 1 192.0.2.2 4 typ host",
          "candidate:1 1 UDP 1 192.0.2.2 4 typ host\nm=audio"})
        EXPECT_EQ(Classify(text), CandidateKind::Bad) << text;
    EXPECT_EQ(Classify(std::string(5000, '1')), CandidateKind::Bad);
    EXPECT_EQ(Classify(std::string_view("candidate:1 1 UDP 1 192.0.2.2 4 typ host\0x", 42)),
              CandidateKind::Bad);
}

TEST(IceCandidate, BelongsToASectionByIdentifierElseByIndex) {
    SessionDescription description;
    description.media.resize(2);
    description.media[0].mid = "video0";
    description.media[1].mid = "audio1";
    EXPECT_TRUE(NamesASection(description, "audio1", 0));
    EXPECT_FALSE(NamesASection(description, "other", 0));
    EXPECT_TRUE(NamesASection(description, "", 1));
    EXPECT_FALSE(NamesASection(description, "", 2));
    EXPECT_FALSE(NamesASection(description, "", -1));
}

}  // namespace
}  // namespace webrtc_gstreamer
