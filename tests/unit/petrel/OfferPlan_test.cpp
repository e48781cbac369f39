#include "apps/petrel/OfferPlan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "apps/petrel/SdpFields.h"

namespace {

using petrel::OfferedMedia;
using petrel::OfferPlan;
using petrel::PlanAnswer;
using petrel::VideoCodec;
using petrel::WantedMedia;
using testing::HasSubstr;
using testing::Not;
using Reply = OfferedMedia::Reply;

const std::string kHead = "v=0\r\no=- 1 1 IN IP4 0.0.0.0\r\ns=-\r\nt=0 0\r\n";
const std::string kTransport =
    "c=IN IP4 0.0.0.0\r\na=ice-ufrag:abcd\r\na=ice-pwd:0123456789abcdefghijkl\r\n"
    "a=fingerprint:sha-256 AB:CD:EF:01\r\na=setup:actpass\r\na=rtcp-mux\r\n";

std::string Video(const std::string& mid = "v") {
    return "m=video 9 UDP/TLS/RTP/SAVPF 98 96 97 100\r\n" + kTransport + "a=mid:" + mid +
           "\r\na=recvonly\r\n"
           "a=rtpmap:98 VP8/90000\r\n"
           "a=rtpmap:96 H264/90000\r\na=fmtp:96 level-asymmetry-allowed=1;packetization-mode=1;"
           "profile-level-id=42e01f\r\n"
           "a=rtpmap:97 rtx/90000\r\na=fmtp:97 apt=96\r\n"
           "a=rtpmap:100 H264/90000\r\na=fmtp:100 packetization-mode=1;profile-level-id=640c1f\r\n"
           "a=rtcp-fb:96 nack\r\na=rtcp-fb:96 nack pli\r\na=rtcp-fb:96 transport-cc\r\n"
           "a=extmap:5 http://www.ietf.org/id/draft-holmer-rmcat-transport-wide-cc-extensions-01\r\n"
           "a=extmap:6 urn:example:unknown\r\n";
}

std::string Audio(const std::string& mid = "a") {
    return "m=audio 9 UDP/TLS/RTP/SAVPF 111\r\n" + kTransport + "a=mid:" + mid +
           "\r\na=recvonly\r\na=rtpmap:111 opus/48000/2\r\na=fmtp:111 minptime=10;useinbandfec=1\r\n";
}

std::string Both() {
    return kHead + "a=group:BUNDLE v a\r\n" + Video() + Audio();
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

OfferPlan Plan(const std::string& sdp, const WantedMedia& wanted = {}) {
    std::string problem;
    std::optional<OfferPlan> plan = PlanAnswer(sdp, wanted, problem);
    EXPECT_TRUE(plan) << problem;
    return plan.value_or(OfferPlan{});
}

TEST(OfferPlan, SendsVideoAndAudio) {
    const OfferPlan plan = Plan(Both());
    ASSERT_EQ(plan.media.size(), 2U);
    EXPECT_EQ(plan.media[0].reply, Reply::Send);
    EXPECT_EQ(plan.media[0].mid, "v");
    EXPECT_EQ(plan.media[0].payloadType, 96);
    EXPECT_EQ(plan.media[0].twccExtension, 5);
    EXPECT_TRUE(plan.media[0].retransmission);
    EXPECT_EQ(plan.media[1].reply, Reply::Send);
    EXPECT_EQ(plan.media[1].payloadType, 111);
    EXPECT_FALSE(plan.media[1].retransmission);
}

TEST(OfferPlan, ShowsTheEngineOnlyWhatIsUsed) {
    const std::string offer = Plan(Both()).engineOffer;
    EXPECT_THAT(offer, HasSubstr("m=video 9 UDP/TLS/RTP/SAVPF 96 97\r\n"));
    EXPECT_THAT(offer, HasSubstr("a=group:BUNDLE v a\r\n"));
    EXPECT_THAT(offer, HasSubstr("a=rtcp-fb:96 nack pli\r\n"));
    EXPECT_THAT(offer, Not(HasSubstr("VP8")));
    EXPECT_THAT(offer, Not(HasSubstr("urn:example")));
}

TEST(OfferPlan, KeepsTheOrderOfTheSections) {
    const OfferPlan plan = Plan(kHead + "a=group:BUNDLE a v\r\n" + Audio() + Video());
    EXPECT_EQ(plan.media[0].kind, OfferedMedia::Kind::Audio);
    EXPECT_EQ(plan.media[1].kind, OfferedMedia::Kind::Video);
    EXPECT_LT(plan.engineOffer.find("m=audio"), plan.engineOffer.find("m=video"));
}

TEST(OfferPlan, TakesTheCodecThatThePhoneSends) {
    EXPECT_EQ(Plan(Both(), {VideoCodec::Vp8, true}).media[0].payloadType, 98);
}

TEST(OfferPlan, TakesVp9OfProfileZero) {
    const WantedMedia vp9{VideoCodec::Vp9, true};
    const std::string offer = Replaced(Both(), "VP8/90000", "VP9/90000");
    EXPECT_EQ(Plan(offer, vp9).media[0].payloadType, 98) << "no profile means 0";
    const auto withProfile = [&](const std::string& profile) {
        return Plan(Replaced(offer, "a=rtpmap:98", "a=fmtp:98 profile-id=" + profile + "\r\na=rtpmap:98"),
                    vp9);
    };
    EXPECT_EQ(withProfile("0").media[0].payloadType, 98);
    EXPECT_EQ(withProfile("2").media[0].reply, Reply::Reject);
    EXPECT_THAT(withProfile("2").media[0].refusal, HasSubstr("VP9"));
}

TEST(OfferPlan, PrefersTheBaselineProfile) {
    const std::string highFirst = Replaced(Replaced(Both(), "98 96 97 100", "100 98 96 97"),
                                           "profile-level-id=42e01f", "profile-level-id=42E01F");
    EXPECT_EQ(Plan(highFirst).media[0].payloadType, 96);
}

TEST(OfferPlan, RejectsAVideoSectionWithoutTheCodec) {
    const OfferPlan plan = Plan(Replaced(Both(), "VP8/90000", "VP9/90000"), {VideoCodec::Vp8, true});
    EXPECT_EQ(plan.media[0].reply, Reply::Reject);
    EXPECT_THAT(plan.media[0].refusal, HasSubstr("VP8"));
    EXPECT_EQ(plan.media[1].reply, Reply::Send);
    EXPECT_THAT(plan.engineOffer, HasSubstr("a=group:BUNDLE a\r\n"));
    EXPECT_EQ(plan.EngineIndex(0), -1);
    EXPECT_EQ(plan.EngineIndex(1), 0);
    EXPECT_EQ(plan.MediaIndex(0), 1U);
}

TEST(OfferPlan, LeavesASectionInactiveThatNothingIsSentOn) {
    EXPECT_EQ(Plan(Both(), {VideoCodec::H264, false}).media[1].reply, Reply::Inactive);
    EXPECT_EQ(Plan(Replaced(Both(), "a=recvonly", "a=sendonly")).media[0].reply, Reply::Inactive);
    EXPECT_EQ(Plan(Replaced(Both(), "a=recvonly", "a=sendrecv")).media[0].reply, Reply::Send);
}

TEST(OfferPlan, RejectsWhatAPhoneDoesNotDo) {
    const OfferPlan plan = Plan(kHead + "a=group:BUNDLE v d w\r\n" + Video() +
                                "m=application 9 UDP/DTLS/SCTP webrtc-datachannel\r\n" + kTransport +
                                "a=mid:d\r\n" + Video("w"));
    EXPECT_EQ(plan.media[0].reply, Reply::Send);
    EXPECT_EQ(plan.media[1].reply, Reply::Reject);
    EXPECT_EQ(plan.media[2].reply, Reply::Reject) << "a second picture";
}

TEST(OfferPlan, TakesABundleOnlySectionAndLeavesAClosedOne) {
    const std::string closed = Replaced(Both(), "m=audio 9", "m=audio 0");
    EXPECT_EQ(Plan(closed).media[1].reply, Reply::Reject);
    EXPECT_EQ(Plan(closed + "a=bundle-only\r\n").media[1].reply, Reply::Send);
}

TEST(OfferPlan, CollectsCandidates) {
    const OfferPlan plan =
        Plan(Both() + "a=candidate:1 1 UDP 2015363327 127.0.0.1 40000 typ host\r\na=candidate:x\r\n");
    ASSERT_EQ(plan.candidates.size(), 1U);
    EXPECT_EQ(plan.candidates[0].candidate, "candidate:1 1 UDP 2015363327 127.0.0.1 40000 typ host");
    EXPECT_EQ(plan.candidates[0].mid, "a");
}

TEST(OfferPlan, RejectsASectionWithABrokenTransport) {
    const std::pair<const char*, const char*> kDamages[] = {
        {"a=ice-ufrag:abcd\r\n", ""},
        {"a=ice-ufrag:abcd", "a=ice-ufrag:a b c d"},
        {"a=ice-pwd:0123456789abcdefghijkl", "a=ice-pwd:short"},
        {"a=fingerprint:sha-256 AB:CD:EF:01\r\n", ""},
        {"a=fingerprint:sha-256 AB:CD:EF:01", "a=fingerprint:sha-256 not hexadecimal"},
        {"a=setup:actpass", "a=setup:holdconn"},
        {"a=rtcp-mux\r\n", ""},
        {"UDP/TLS/RTP/SAVPF", "RTP/AVP"},
    };
    for (const auto& [from, to] : kDamages) {
        const OfferPlan plan = Plan(Replaced(Both(), from, to));
        ASSERT_EQ(plan.media.size(), 2U);
        EXPECT_EQ(plan.media[0].reply, Reply::Reject) << from << " -> " << to;
        EXPECT_EQ(plan.media[1].reply, Reply::Send) << from << " -> " << to;
    }
}

TEST(OfferPlan, RefusesWhatIsNoOffer) {
    std::string sections;
    for (int index = 0; index < 17; ++index)
        sections += Audio(std::string("a").append(std::to_string(index)));
    const std::string kTexts[] = {"",
                                  "hello",
                                  "v=0\r\n",
                                  kHead,
                                  Replaced(Both(), "a=mid:v\r\n", ""),
                                  Replaced(Both(), "a=mid:a\r\n", "a=mid:v\r\n"),
                                  Replaced(Both(), "a=mid:v\r\n", "a=mid:v w\r\n"),
                                  kHead + sections,
                                  std::string("v=0\r\n").append(300'000, 'x')};
    for (const std::string& text : kTexts) {
        std::string problem;
        EXPECT_FALSE(PlanAnswer(text, {}, problem)) << text.substr(0, 100);
        EXPECT_FALSE(problem.empty());
    }
}

TEST(OfferPlan, SurvivesEveryTruncation) {
    const std::string whole = Both();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        std::string problem;
        const std::optional<OfferPlan> plan = PlanAnswer(whole.substr(0, length), {}, problem);
        EXPECT_NE(plan.has_value(), !problem.empty()) << length;
    }
}

TEST(AnswerText, PutsRejectedSectionsBackInTheirPlace) {
    const OfferPlan plan = Plan(Replaced(Both(), "VP8/90000", "VP9/90000"), {VideoCodec::Vp8, true});
    const auto engineAnswer = petrel::ParseSdp(
        kHead + "a=group:BUNDLE a\r\nm=audio 9 UDP/TLS/RTP/SAVPF 111\r\na=mid:a\r\na=sendonly\r\n");
    ASSERT_NE(engineAnswer, nullptr);
    const std::string answer = petrel::ComposeAnswer(plan, engineAnswer.get());
    const auto parsed = petrel::ParseSdp(answer);
    ASSERT_NE(parsed, nullptr) << answer;
    ASSERT_EQ(gst_sdp_message_medias_len(parsed.get()), 2U);
    EXPECT_EQ(gst_sdp_media_get_port(gst_sdp_message_get_media(parsed.get(), 0)), 0U);
    EXPECT_EQ(gst_sdp_media_get_port(gst_sdp_message_get_media(parsed.get(), 1)), 9U);
    EXPECT_THAT(answer, HasSubstr("a=group:BUNDLE a\r\n"));
}

TEST(AnswerText, RejectsEverythingWithoutAnEngine) {
    const OfferPlan plan = Plan(kHead + Replaced(Video(), "H264", "H265"));
    ASSERT_EQ(plan.media.size(), 1U);
    EXPECT_EQ(
        Plan(Replaced(Replaced(kHead + Video(), "96 H264", "96 H265"), "100 H264", "100 H265")).engineOffer,
        "");
    EXPECT_THAT(petrel::ComposeAnswer(plan, nullptr), HasSubstr("m=video 0 "));
}

TEST(CleanCandidate, TakesOnlyCandidateLines) {
    const std::string good = "candidate:1 1 UDP 2015363327 127.0.0.1 40000 typ host";
    EXPECT_EQ(petrel::CleanCandidate(good), good);
    EXPECT_EQ(petrel::CleanCandidate("a=" + good), good);
    EXPECT_FALSE(petrel::CleanCandidate("candidate:"));
    EXPECT_FALSE(petrel::CleanCandidate("nonsense"));
    EXPECT_FALSE(petrel::CleanCandidate(good + "\r\na=more"));
    EXPECT_FALSE(petrel::CleanCandidate(good + std::string(1000, ' ')));
}

}  // namespace
