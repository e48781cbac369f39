#include "webrtc_gstreamer/SessionDescription.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/unit/webrtc_gstreamer/OfferText.h"
#include "webrtc_gstreamer/DescriptionRules.h"
#include "webrtc_gstreamer/OfferCaps.h"

namespace webrtc_gstreamer {
namespace {

// As browsers write it: nothing in the session part, formats of its own choice.
std::string Answer() {
    const std::string transport = "a=ice-ufrag:wxyz\r\na=ice-pwd:1234567890123456789012\r\na=fingerprint:" +
                                  std::string(kOfferFingerprint) + "\r\na=setup:active\r\n";
    return "v=0\r\no=- 1 0 IN IP4 127.0.0.1\r\ns=-\r\nt=0 0\r\na=group:BUNDLE video0 "
           "audio1\r\na=msid-semantic: WMS\r\n" +
           SectionText("m=video 9 UDP/TLS/RTP/SAVPF 97 96", "video0",
                       transport +
                           "a=sendonly\r\na=msid:- x\r\na=rtpmap:97 VP8/90000\r\na=rtpmap:96 h264/90000\r\n"
                           "a=fmtp:96 packetization-mode=1;payload=5;sprop-parameter-sets=Z0LA,aM4=\r\n"
                           "a=rtcp-fb:* transport-cc\r\na=ssrc:1234 cname:abc\r\na=ssrc:1234 msid:- x\r\n"
                           "a=candidate:1 1 udp 1 192.0.2.1 5 typ host\r\n") +
           SectionText("m=audio 9 UDP/TLS/RTP/SAVPF 111", "audio1",
                       transport + "a=sendrecv\r\na=rtpmap:111 opus/48000/2\r\n");
}

SessionDescription Parsed(const std::string& text) {
    const auto parsed = ParseDescription(text);
    EXPECT_TRUE(parsed.description) << parsed.error;
    return parsed.description.value_or(SessionDescription{});
}

TEST(SessionDescription, ReadsWhatTheEngineNeeds) {
    const auto answer = Parsed(Answer());
    ASSERT_EQ(answer.media.size(), 2U);
    EXPECT_EQ(answer.bundle, (std::vector<std::string>{"video0", "audio1"}));
    const MediaSection& video = answer.media[0];
    EXPECT_EQ(video.kind, "video");
    EXPECT_EQ(video.direction, Direction::SendOnly);
    EXPECT_EQ(video.setup, "active");
    EXPECT_EQ(video.iceUfrag, "wxyz");
    ASSERT_EQ(video.formats.size(), 2U);
    EXPECT_EQ(video.formats[1].clockRate, 90000);
    EXPECT_EQ(video.formats[0].feedback, (std::vector<std::string>{"transport-cc"}));
    EXPECT_EQ(video.ssrcs, (std::vector<std::uint32_t>{1234}));
    EXPECT_EQ(video.candidates, (std::vector<std::string>{"candidate:1 1 udp 1 192.0.2.1 5 typ host"}));
}

TEST(SessionDescription, UnknownParametersAreLeftOut) {
    const auto answer = Parsed(Answer());
    EXPECT_EQ(answer.media[0].formats[1].parameters,
              (std::vector<std::string>{"packetization-mode=1", "sprop-parameter-sets=Z0LA,aM4="}));
}

TEST(SessionDescription, APayloadTypeNamedTwiceCountsOnce) {
    std::string text = Answer();
    text.replace(text.find("SAVPF 97 96"), 11, "SAVPF 97 96 096 97");
    const auto answer = Parsed(text);
    ASSERT_EQ(answer.media[0].formats.size(), 2U);
    EXPECT_EQ(answer.media[0].formats[0].payload, 97);
    EXPECT_EQ(answer.media[0].formats[1].payload, 96);
    EXPECT_EQ(WhyNotAnAnswer(Parsed(OfferText()), answer).value_or(""), "");
}

TEST(SessionDescription, AStreamWithoutANumberIsLeftOut) {
    std::string text = Answer();
    text.insert(text.find("a=ssrc:1234"), "a=ssrc:0 cname:abc\r\na=ssrc:00 cname:abc\r\n");
    EXPECT_EQ(Parsed(text).media[0].ssrcs, (std::vector<std::uint32_t>{1234}));
}

TEST(SessionDescription, SessionAttributesHoldForEverySection) {
    const auto offer = Parsed(OfferText());
    for (const MediaSection& section : offer.media) {
        EXPECT_EQ(section.iceUfrag, "abcd");
        EXPECT_EQ(section.fingerprint, kOfferFingerprint);
        EXPECT_FALSE(section.rejected);
    }
    EXPECT_TRUE(offer.media[1].bundleOnly);
}

TEST(SessionDescription, BundledSectionsInheritTheTransport) {
    std::string text = Answer();
    const auto second = text.find("m=audio");
    for (const char* key : {"a=ice-ufrag", "a=ice-pwd", "a=fingerprint", "a=setup"}) {
        const auto at = text.find(key, second);
        text.erase(at, text.find("\r\n", at) + 2 - at);
    }
    EXPECT_FALSE(WhyNotAnAnswer(Parsed(OfferText()), Parsed(text)));
}

TEST(SessionDescription, LineFeedsAloneAreEnough) {
    std::string text = Answer();
    std::erase(text, '\r');
    EXPECT_FALSE(WhyNotAnAnswer(Parsed(OfferText()), Parsed(text)));
}

TEST(SessionDescription, WrittenAnewReadsTheSame) {
    const auto offer = Parsed(OfferText());
    const auto fitted = AnswerForEngine(offer, Parsed(Answer()));
    const SdpMessagePointer message = ToMessage(fitted);
    const TextPointer text(gst_sdp_message_as_text(message.get()));
    const auto again = Parsed(text.get());
    ASSERT_EQ(again.media.size(), 2U);
    EXPECT_EQ(again.bundle, fitted.bundle);
    for (std::size_t index = 0; index < 2; ++index) {
        EXPECT_EQ(again.media[index].mid, fitted.media[index].mid);
        EXPECT_EQ(again.media[index].direction, Direction::SendOnly);
        EXPECT_EQ(again.media[index].icePwd, fitted.media[index].icePwd);
        EXPECT_EQ(again.media[index].formats.size(), fitted.media[index].formats.size());
        EXPECT_EQ(again.media[index].ssrcs, fitted.media[index].ssrcs);
    }
}

TEST(AnswerRules, ABrowsersAnswerFits) {
    EXPECT_EQ(WhyNotAnAnswer(Parsed(OfferText()), Parsed(Answer())).value_or(""), "");
}

TEST(AnswerRules, ARefusedFirstSectionStaysInTheEnginesBundle) {
    std::string text = Answer();
    const auto first = text.find("m=video");
    const auto second = text.find("m=audio");
    text = text.substr(0, first) + "m=video 0 UDP/TLS/RTP/SAVPF 0\r\na=mid:video0\r\na=inactive\r\n" +
           text.substr(second);
    text.replace(text.find("BUNDLE video0 audio1"), 20, "BUNDLE audio1");
    const auto offer = Parsed(OfferText());
    const auto answer = Parsed(text);
    ASSERT_EQ(WhyNotAnAnswer(offer, answer).value_or(""), "");
    EXPECT_FALSE(WillSend(answer.media[0]));
    EXPECT_TRUE(WillSend(answer.media[1]));
    const auto fitted = AnswerForEngine(offer, answer);
    EXPECT_EQ(fitted.bundle, (std::vector<std::string>{"video0", "audio1"}));
    EXPECT_FALSE(fitted.media[0].rejected);
    EXPECT_EQ(fitted.media[0].direction, Direction::Inactive);
    EXPECT_EQ(fitted.media[0].icePwd, answer.media[1].icePwd);
    EXPECT_EQ(fitted.media[0].setup, "active");
}

TEST(AnswerRules, ASectionThatTheOfferRefusedAlreadyTakesTheWholeTransportOfTheOthers) {
    auto offer = Parsed(OfferText());
    offer.media[0].rejected = true;
    offer.media[0].rtcpMux = false;
    auto answer = Parsed(Answer());
    answer.media[0].rejected = true;
    ASSERT_EQ(WhyNotAnAnswer(offer, answer).value_or(""), "");
    const auto fitted = AnswerForEngine(offer, answer);
    EXPECT_TRUE(fitted.media[0].rtcpMux);
    EXPECT_EQ(WhyNotAnAnswer(offer, fitted).value_or(""), "");
}

TEST(AnswerRules, AnInactiveSectionSendsNothing) {
    std::string text = Answer();
    text.replace(text.find("a=sendrecv"), 10, "a=inactive");
    const auto answer = Parsed(text);
    EXPECT_FALSE(WhyNotAnAnswer(Parsed(OfferText()), answer));
    EXPECT_FALSE(WillSend(answer.media[1]));
}

TEST(OfferRules, OnlyKnownCodecsRemain) {
    std::string text = Answer();
    for (auto at = text.find("a=setup:active"); at != std::string::npos; at = text.find("a=setup:active"))
        text.replace(at, 14, "a=setup:actpass");
    text.replace(text.find("VP8/90000"), 9, "rtx/90000");
    text.replace(text.find("a=rtpmap:97"), 0, "a=extmap:3 urn:example:x\r\n");
    const auto offer = Parsed(text);
    ASSERT_EQ(WhyNotAnOffer(offer, nullptr).value_or(""), "");
    const auto fitted = OfferForEngine(offer);
    ASSERT_EQ(fitted.media[0].formats.size(), 1U);
    EXPECT_EQ(fitted.media[0].formats[0].payload, 96);
    EXPECT_TRUE(fitted.media[0].extensions.empty());
    EXPECT_EQ(fitted.media[1].direction, Direction::SendOnly);
}

TEST(OfferRules, ARejectedSectionsOwnTransportIsNotHandedOn) {
    auto offer = Parsed(Answer());
    offer.media[0].setup = offer.media[1].setup = "actpass";
    MediaSection& rejected = offer.media[1];
    rejected.rejected = true;
    rejected.setup = "hold\1";
    rejected.iceUfrag.clear();
    rejected.fingerprint = std::string("sha-256 \0", 9);
    rejected.ssrcs = {99};
    rejected.candidates = {"candidate:nonsense"};
    ASSERT_EQ(WhyNotAnOffer(offer, nullptr).value_or(""), "");
    const MediaSection fitted = OfferForEngine(offer).media[1];
    EXPECT_TRUE(fitted.rejected);
    EXPECT_EQ(fitted.setup, "actpass");
    EXPECT_EQ(fitted.iceUfrag, "wxyz");
    EXPECT_EQ(fitted.icePwd, "1234567890123456789012");
    EXPECT_EQ(fitted.fingerprint, kOfferFingerprint);
    EXPECT_TRUE(fitted.ssrcs.empty());
    EXPECT_TRUE(fitted.candidates.empty());
}

TEST(OfferRules, ALaterOfferKeepsTheSections) {
    std::string text = Answer();
    for (auto at = text.find("a=setup:active"); at != std::string::npos; at = text.find("a=setup:active"))
        text.replace(at, 14, "a=setup:actpass");
    const auto offer = Parsed(text);
    EXPECT_FALSE(WhyNotAnOffer(offer, &offer));
    auto fewer = offer;
    fewer.media.pop_back();
    fewer.bundle.pop_back();
    EXPECT_FALSE(WhyNotAnOffer(fewer, nullptr));
    EXPECT_TRUE(WhyNotAnOffer(fewer, &offer));
    auto renamed = offer;
    renamed.media[0].mid = renamed.bundle[0] = "v";
    EXPECT_TRUE(WhyNotAnOffer(renamed, &offer));
}

// Any text may come in. What passes the rules must be something the engine's own parser takes, too.
TEST(SessionDescription, DamagedTextsAreRefusedOrHarmless) {
    std::mt19937 random(7);
    const auto offer = Parsed(OfferText());
    const std::string good = Answer();
    int fitting = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text = good;
        for (unsigned int change = random() % 4 + 1; change > 0 && !text.empty(); --change) {
            const std::size_t at = random() % text.size();
            switch (random() % 4) {
                case 0:
                    text[at] = static_cast<char>(random());
                    break;
                case 1:
                    text.erase(at, random() % 40 + 1);
                    break;
                case 2:
                    text.insert(at, text.substr(random() % text.size(), random() % 60));
                    break;
                default:
                    text.resize(at + 1);
                    break;
            }
        }
        const auto parsed = ParseDescription(text);
        if (!parsed.description) {
            ASSERT_FALSE(parsed.error.empty());
            continue;
        }
        static_cast<void>(WhyNotAnOffer(*parsed.description, nullptr));
        if (WhyNotAnAnswer(offer, *parsed.description)) continue;
        ++fitting;
        const SdpMessagePointer message = ToMessage(AnswerForEngine(offer, *parsed.description));
        ASSERT_EQ(gst_sdp_message_medias_len(message.get()), 2U);
    }
    EXPECT_GT(fitting, 100);
}

TEST(OfferCaps, EveryVideoFormatCarriesFeedbackAndTheHeaderExtension) {
    gst_init(nullptr, nullptr);
    const CapsPointer caps = OfferedVideoCaps();
    ASSERT_EQ(gst_caps_get_size(caps.get()), 3U);
    const char* encodings[] = {"H264", "VP8", "VP9"};
    for (guint index = 0; index < 3; ++index) {
        const GstStructure* format = gst_caps_get_structure(caps.get(), index);
        EXPECT_STREQ(gst_structure_get_string(format, "encoding-name"), encodings[index]);
        EXPECT_STREQ(gst_structure_get_string(format, "extmap-1"), kTransportWideCcUri);
        for (const char* feedback : {"rtcp-fb-nack", "rtcp-fb-nack-pli", "rtcp-fb-transport-cc"}) {
            gboolean set = FALSE;
            EXPECT_TRUE(gst_structure_get_boolean(format, feedback, &set) && set) << feedback;
        }
    }
    const CapsPointer audio = OfferedAudioCaps();
    EXPECT_STREQ(gst_structure_get_string(gst_caps_get_structure(audio.get(), 0), "encoding-name"), "OPUS");
}

TEST(OfferCaps, KnownCodecsInAnyCase) {
    EXPECT_TRUE(CanReceive("video", "h264"));
    EXPECT_TRUE(CanReceive("audio", "opus"));
    EXPECT_FALSE(CanReceive("audio", "VP8"));
    EXPECT_FALSE(CanReceive("video", "rtx"));
    EXPECT_FALSE(CanReceive("text", "H264"));
}

}  // namespace
}  // namespace webrtc_gstreamer
