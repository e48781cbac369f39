#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "tests/contract/webrtc/Call.h"

namespace contract {
namespace {

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

int Occurrences(const std::string& text, const std::string& part) {
    int count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

TEST(Offer, AsksForOneVideoAndOneAudioTrackWithoutLocalTracks) {
    Call call;
    call.connection->CreateOffer();
    const auto offer = call.record.WaitFor("offer");
    ASSERT_TRUE(offer);
    EXPECT_EQ(offer->type, "offer");
    EXPECT_EQ(Occurrences(offer->text, "m=video "), 1);
    EXPECT_EQ(Occurrences(offer->text, "m=audio "), 1);
    EXPECT_EQ(Occurrences(offer->text, "a=recvonly"), 2);
    EXPECT_LT(offer->text.find("H264/90000"), offer->text.find("VP8/90000"));
    EXPECT_LT(offer->text.find("VP8/90000"), offer->text.find("VP9/90000"));
    EXPECT_TRUE(Contains(offer->text, "VP9/90000"));
    for (const char* payload : {"96", "97", "98"}) {
        for (const char* feedback : {" nack\r\n", " nack pli\r\n", " transport-cc\r\n"})
            EXPECT_TRUE(Contains(offer->text, std::string("a=rtcp-fb:") + payload + feedback))
                << payload << feedback;
    }
    EXPECT_TRUE(Contains(offer->text, "transport-wide-cc-extensions-01"));
    EXPECT_TRUE(Contains(offer->text, "OPUS/48000/2"));
}

TEST(Offer, LocalTracksAndStreamsDoNotChangeIt) {
    Call call;
    const auto source = call.factory->CreateVideoTrackSource();
    ASSERT_TRUE(source);
    const auto video = call.connection->CreateVideoTrack("VideoTrack", source);
    const auto audio = call.connection->CreateAudioTrackWithDefaultMic("AudioTrack");
    ASSERT_TRUE(video);
    ASSERT_TRUE(audio);
    EXPECT_TRUE(call.connection->CreateLocalMediaStream(nullptr, audio));
    EXPECT_TRUE(call.connection->CreateLocalMediaStream(video, nullptr));
    EXPECT_TRUE(call.connection->CreateLocalMediaStream(nullptr, nullptr));
    call.connection->CreateOffer();
    const auto offer = call.record.WaitFor("offer");
    ASSERT_TRUE(offer);
    EXPECT_EQ(Occurrences(offer->text, "m="), 2);
}

TEST(Offer, ComesBeforeTheFirstCandidate) {
    Call call;
    call.connection->CreateOffer();
    ASSERT_TRUE(call.record.WaitFor("candidate"));
    const auto all = call.record.All();
    const auto first = std::find_if(all.begin(), all.end(), [](const auto& entry) {
        return entry.what == "offer" || entry.what == "candidate";
    });
    EXPECT_EQ(first->what, "offer");
}

TEST(Candidate, CarriesIdentifierAndIndexAsText) {
    Record candidates;
    Call call;
    call.connection->CreateOffer();
    const auto candidate = call.record.WaitFor("candidate");
    ASSERT_TRUE(candidate);
    EXPECT_TRUE(candidate->text.starts_with("candidate:")) << candidate->text;
    EXPECT_EQ(candidate->type, "video0");
}

// The phone hears no candidate of the library's, and the library none of the phone's after the description:
// the early one is the only way.
TEST(Candidate, MayArriveBeforeTheDescription) {
    Call call;
    std::string answer;
    call.onPhoneDescription = [&call, &answer](const std::string& sdp) {
        answer = sdp;
        call.record.Add("held back");
    };
    call.forwardsCandidates = false;
    call.phone.onCandidate = [&call](unsigned int line, const std::string& candidate) {
        if (call.record.Count("early") > 0) return;
        call.connection->AddIceCandidate(candidate.c_str(), "", static_cast<std::int32_t>(line));
        call.record.Add("early");
    };
    call.Connect();
    ASSERT_TRUE(call.record.WaitFor("early"));
    ASSERT_TRUE(call.record.WaitFor("held back"));
    call.connection->SetRemoteDescription(answer.c_str(), "answer");
    EXPECT_TRUE(call.WaitForPictures(1));
    EXPECT_EQ(call.record.Count("failure"), 0U);
}

TEST(Candidate, TooManyAreReportedOnceAndLeftOut) {
    Call call;
    call.Connect();
    ASSERT_TRUE(call.WaitForPictures(1));
    constexpr int kFlood = 5000;
    for (int number = 0; number < kFlood; ++number) {
        const std::string text = "candidate:" + std::to_string(number) + " 1 UDP 1 127.0.0.1 " +
                                 std::to_string(2000 + number) + " typ host";
        call.connection->AddIceCandidate(text.c_str(), "video0", 0);
    }
    EXPECT_TRUE(call.record.WaitFor("failure"));
    EXPECT_TRUE(call.WaitForPictures(10));
    EXPECT_EQ(call.record.Count("failure"), 1U);
}

TEST(Candidate, BadOnesAreReportedAndChangeNothing) {
    Call call;
    const char* bad[] = {"nonsense",
                         "candidate:",  // followed by nothing: an end sign, not an error
                         "candidate:1 1 UDP 1 127.0.0.1 99999 typ host",
                         "candidate:1 1 UDP 1 127.0.0.1 9 typ alien",
                         "candidate:1 1 UDP x 127.0.0.1 9 typ host",
                         "candidate:1 1 UDP 1 127.0.0.1\n9 typ host x",
                         "candidate:1 1 UDP 1 12\"7.0.0.1 9 typ host"};
    for (const char* text : bad)
        call.connection->AddIceCandidate(text, "video0", 0);
    call.connection->AddIceCandidate(nullptr, nullptr, 0);
    call.connection->AddIceCandidate("", "", 0);
    call.connection->AddIceCandidate(std::string(100000, 'x').c_str(), "", 0);
    call.Connect();
    ASSERT_TRUE(call.WaitForStream());
    // Well-formed, but of no media section.
    call.connection->AddIceCandidate("candidate:1 1 UDP 1 127.0.0.1 9 typ host", "nowhere", 0);
    call.connection->AddIceCandidate("candidate:1 1 UDP 1 127.0.0.1 9 typ host", "", 7);
    call.connection->AddIceCandidate("candidate:1 1 UDP 1 127.0.0.1 9 typ host", "", -1);
    EXPECT_TRUE(call.WaitForPictures(1));
    EXPECT_EQ(call.record.Count("failure"), 6U + 1U + 3U);
}

TEST(Answer, StreamIsDeliveredOnceWithBothTracks) {
    Call call;
    call.Connect();
    const auto stream = call.WaitForStream();
    ASSERT_TRUE(stream);
    EXPECT_TRUE(stream->VideoTrack(0));
    EXPECT_TRUE(stream->AudioTrack(0));
    EXPECT_FALSE(stream->VideoTrack(1));
    EXPECT_FALSE(stream->AudioTrack(1));
    EXPECT_TRUE(call.WaitForPictures(10));
    EXPECT_EQ(call.record.Count("stream"), 1U);
}

TEST(Answer, ToAnOfferOfTheRunningConnectionBringsNoSecondStream) {
    Call call;
    call.onPhoneDescription = [&call](const std::string& sdp) {
        call.connection->SetRemoteDescription(sdp.c_str(), "answer");
        call.record.Add("answered");
    };
    call.Connect();
    ASSERT_TRUE(call.WaitForPictures(5));
    call.connection->CreateOffer();
    ASSERT_TRUE(call.record.WaitUntil([](const auto& all) {
        return std::count_if(all.begin(), all.end(),
                             [](const auto& entry) { return entry.what == "answered"; }) == 2;
    }));
    // Answered after all that was asked before.
    call.connection->GetStats(new StatsReader([&call](const voStats&) { call.record.Add("stats"); }));
    ASSERT_TRUE(call.record.WaitFor("stats"));
    EXPECT_TRUE(call.WaitForPictures(5));
    EXPECT_EQ(call.record.Count("stream"), 1U);
    EXPECT_EQ(call.record.Count("failure"), 0U);
}

TEST(Answer, RefusedSoundLeavesTheTrackNull) {
    Call call({.sendAudio = false});
    call.Connect();
    const auto stream = call.WaitForStream();
    ASSERT_TRUE(stream);
    EXPECT_TRUE(stream->VideoTrack(0));
    EXPECT_FALSE(stream->AudioTrack(0));
    EXPECT_TRUE(call.WaitForPictures(5));
}

TEST(Answer, RefusedPictureLeavesTheTrackNullAndSoundArrives) {
    Record blocks;
    Call call({.sendVideo = false});
    call.Connect();
    const auto stream = call.WaitForStream();
    ASSERT_TRUE(stream);
    EXPECT_FALSE(stream->VideoTrack(0));
    ASSERT_TRUE(stream->AudioTrack(0));
    const voPointer<voAudioTrackInterface::Sink> sink(
        new AudioSink([&blocks](const voAudioData&) { blocks.Add("block"); }));
    stream->AudioTrack(0)->AddSink(sink);
    EXPECT_TRUE(blocks.WaitFor("block"));
    stream->AudioTrack(0)->RemoveSink(sink);
}

TEST(Answer, WithoutAnOfferIsAFailure) {
    Call call;
    call.connection->SetRemoteDescription("v=0\r\n", "answer");
    EXPECT_TRUE(call.record.WaitFor("failure"));
}

TEST(Answer, CreatingOneWithoutAnOfferIsAFailure) {
    Call call;
    call.connection->CreateAnswer();
    EXPECT_TRUE(call.record.WaitFor("failure"));
}

class RemoteOffer : public testing::TestWithParam<const char*> {};

TEST_P(RemoteOffer, IsAnsweredBeforeTheFirstCandidate) {
    Call call({.codec = GetParam()});
    call.ConnectByOfferOfPhone();
    const auto answer = call.record.WaitFor("answer");
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->type, "answer");
    EXPECT_TRUE(Contains(answer->text, " nack\r\n"));
    EXPECT_TRUE(call.WaitForPictures(5));
    EXPECT_EQ(call.record.Count("failure"), 0U);
    const auto all = call.record.All();
    const auto first = std::find_if(all.begin(), all.end(), [](const auto& entry) {
        return entry.what == "answer" || entry.what == "candidate";
    });
    EXPECT_EQ(first->what, "answer");
}

INSTANTIATE_TEST_SUITE_P(Codecs, RemoteOffer, testing::Values("H264", "VP8", "VP9"));

TEST(RemoteOffer, ReplacesAnOwnOfferThatIsNotAnswered) {
    Call call;
    call.connection->CreateOffer();
    ASSERT_TRUE(call.record.WaitFor("candidate"));
    call.ConnectByOfferOfPhone();
    EXPECT_TRUE(call.WaitForPictures(5));
    EXPECT_EQ(call.record.Count("failure"), 0U);
}

TEST(States, EndInConnectedOrCompleted) {
    Call call;
    call.Connect();
    EXPECT_TRUE(call.record.WaitUntil([](const auto& all) {
        return std::any_of(all.begin(), all.end(), [](const auto& entry) {
            return entry.what == "ice" && (entry.text == "2" || entry.text == "3");
        });
    }));
    const auto all = call.record.All();
    std::vector<std::string> signaling;
    for (const auto& entry : all) {
        if (entry.what == "signaling") signaling.push_back(entry.text);
    }
    EXPECT_EQ(signaling, (std::vector<std::string>{"1", "0"}));
}

TEST(Factory, NeedsTheTextsOfItsServersForTheCallOnly) {
    Call call;
    auto url = std::make_unique<std::string>("turn:127.0.0.1:3478?transport=udp");
    auto username = std::make_unique<std::string>("a name that is too long to stay in place");
    auto password = std::make_unique<std::string>("a word that is too long to stay in place");
    const voStunServer server{url->c_str(), username->c_str(), password->c_str()};
    call.Reconnect(&server, 1);
    ASSERT_TRUE(call.connection);
    for (const auto& text : {&url, &username, &password}) {
        (*text)->assign((*text)->size(), '!');
        text->reset();
    }
    call.Connect();
    EXPECT_TRUE(call.WaitForPictures(1));
}

TEST(Factory, RefusesImpossibleServers) {
    Call call;
    const voStunServer server{"stun:127.0.0.1:3478", "", ""};
    EXPECT_FALSE(call.factory->CreatePeerConnection(nullptr, 1, true));
    EXPECT_FALSE(call.factory->CreatePeerConnection(&server, -1, true));
    EXPECT_FALSE(call.factory->CreatePeerConnection(&server, 1, false));
    const voStunServer odd[] = {
        {"nonsense", "", ""}, {"turn:127.0.0.1:3478", "a:b", "c@d"}, {"stun:", "", ""}};
    EXPECT_TRUE(call.factory->CreatePeerConnection(odd, 3, true));
    EXPECT_TRUE(voPeerConnectionFactoryInterface::Create(nullptr));
}

}  // namespace
}  // namespace contract
