#include <gtest/gtest.h>

#include <functional>
#include <regex>

#include "tests/contract/webrtc/Call.h"

namespace contract {
namespace {

struct Change {
    const char* name;
    std::function<std::string(const std::string&)> apply;
};

std::function<std::string(const std::string&)> Replace(const char* pattern, const char* with) {
    return [pattern, with](const std::string& text) {
        return std::regex_replace(text, std::regex(pattern), with);
    };
}

std::function<std::string(const std::string&)> ReplaceFirst(const char* pattern, const char* with) {
    return [pattern, with](const std::string& text) {
        return std::regex_replace(text, std::regex(pattern), with, std::regex_constants::format_first_only);
    };
}

std::string FromSection(const std::string& text, std::size_t number) {
    std::size_t at = 0;
    for (std::size_t index = 0; index <= number; ++index)
        at = text.find("m=", at + 1);
    return at == std::string::npos ? std::string() : text.substr(at);
}

std::string WithoutLastSection(const std::string& text) {
    return text.substr(0, text.size() - FromSection(text, 1).size());
}

const std::vector<Change>& Changes() {
    static const std::vector<Change> changes = {
        {"empty", [](const std::string&) { return std::string(); }},
        {"blank", [](const std::string&) { return std::string(" \r\n\r\n"); }},
        {"garbage", [](const std::string&) { return std::string("\x01\xff{}[]%n%s"); }},
        {"only a version", [](const std::string&) { return std::string("v=0\r\n"); }},
        {"long", [](const std::string& text) { return text + "a=" + std::string(400000, 'x') + "\r\n"; }},
        {"no version", Replace("v=0\r\n", "")},
        {"line without type", [](const std::string& text) { return text + "x\r\n"; }},
        {"no media", [](const std::string& text) { return text.substr(0, text.find("m=")); }},
        {"a section less", WithoutLastSection},
        {"a section more", [](const std::string& text) { return text + FromSection(text, 1); }},
        {"twenty sections more",
         [](const std::string& text) {
             std::string result = text;
             for (int count = 0; count < 20; ++count)
                 result += FromSection(text, 1);
             return result;
         }},
        {"sections swapped",
         [](const std::string& text) {
             const std::string head = text.substr(0, text.find("m="));
             const std::string second = FromSection(text, 1);
             const std::string first = WithoutLastSection(text).substr(head.size());
             return head + second + first;
         }},
        {"another kind", Replace("m=audio", "m=video")},
        {"unknown kind", Replace("m=audio", "m=application")},
        {"another identifier", Replace("a=mid:video0", "a=mid:video7")},
        {"no identifier", Replace("a=mid:[^\r]*\r\n", "")},
        {"identifier twice", Replace("a=mid:audio1", "a=mid:video0")},
        {"empty identifier", Replace("a=mid:video0", "a=mid:")},
        {"no fingerprint", Replace("a=fingerprint:[^\r]*\r\n", "")},
        {"short fingerprint", Replace("a=fingerprint:[^\r]*\r\n", "a=fingerprint:sha-256 AA:BB\r\n")},
        {"unknown hash", Replace("a=fingerprint:sha-256", "a=fingerprint:md5")},
        {"fingerprint of blanks", Replace("a=fingerprint:[^\r]*\r\n", "a=fingerprint: \r\n")},
        {"no role", Replace("a=setup:[^\r]*\r\n", "")},
        {"undecided role", Replace("a=setup:[^\r]*\r\n", "a=setup:actpass\r\n")},
        {"unknown role", Replace("a=setup:[^\r]*\r\n", "a=setup:holdconn\r\n")},
        {"two roles", ReplaceFirst("a=setup:active", "a=setup:passive")},
        {"no user fragment", Replace("a=ice-ufrag:[^\r]*\r\n", "")},
        {"short user fragment", Replace("a=ice-ufrag:[^\r]*\r\n", "a=ice-ufrag:ab\r\n")},
        {"no password", Replace("a=ice-pwd:[^\r]*\r\n", "")},
        {"short password", Replace("a=ice-pwd:[^\r]*\r\n", "a=ice-pwd:abcdefgh\r\n")},
        {"odd password", Replace("a=ice-pwd:[^\r]*\r\n", "a=ice-pwd:abcdefgh ijklmnopqrstuvwxyz\r\n")},
        {"two transports", ReplaceFirst("a=ice-ufrag:[^\r]*\r\n", "a=ice-ufrag:another1\r\n")},
        {"attribute twice", ReplaceFirst("a=ice-ufrag:", "a=ice-ufrag:first123\r\na=ice-ufrag:")},
        {"session attribute twice",
         ReplaceFirst("t=0 0\r\n", "t=0 0\r\na=ice-ufrag:aaaa\r\na=ice-ufrag:bbbb\r\n")},
        {"unknown payload type", ReplaceFirst("SAVPF 96", "SAVPF 77")},
        {"payload type out of range", ReplaceFirst("SAVPF 96", "SAVPF 300")},
        {"no payload type", Replace("SAVPF [0-9 ]+", "SAVPF")},
        {"another codec", Replace("H264/90000", "VP8/90000")},
        {"another clock rate", Replace("H264/90000", "H264/8000")},
        {"codec twice", ReplaceFirst("a=rtpmap:96 ", "a=rtpmap:96 H264/90000\r\na=rtpmap:96 ")},
        {"malformed codec", Replace("H264/90000", "H264")},
        {"negative clock rate", Replace("H264/90000", "H264/-90000")},
        {"unknown header extension",
         ReplaceFirst("a=rtcp-mux", "a=extmap:9 urn:example:other\r\na=rtcp-mux")},
        {"wants to receive", Replace("a=sendonly", "a=recvonly")},
        {"no bundle", Replace("a=group:[^\r]*\r\n", "")},
        {"two bundles", ReplaceFirst("a=group:", "a=group:BUNDLE video0\r\na=group:")},
        {"smaller bundle", Replace("BUNDLE [^\r]*", "BUNDLE audio1")},
        {"empty bundle", Replace("BUNDLE [^\r]*", "BUNDLE ")},
        {"unknown section in the bundle", Replace("BUNDLE [^\r]*", "BUNDLE video0 audio1 other2")},
        {"section twice in the bundle", Replace("BUNDLE [^\r]*", "BUNDLE video0 video0 audio1")},
        {"no multiplexing", Replace("a=rtcp-mux\r\n", "")},
        {"another protocol", Replace("UDP/TLS/RTP/SAVPF", "RTP/AVP")},
        {"no protocol", Replace("UDP/TLS/RTP/SAVPF [0-9 ]+", "")},
        {"port out of range", Replace("m=video [0-9]+", "m=video 70000")},
        {"malformed port", Replace("m=video [0-9]+", "m=video nine")},
        {"everything refused", Replace("m=(video|audio) [0-9]+", "m=$1 0")},
        {"stream twice", [](const std::string& text) {
             return WithoutLastSection(text) + "a=ssrc:42 cname:a\r\na=ssrc:42 cname:b\r\n" +
                    FromSection(text, 1);
         }}};
    return changes;
}

TEST(BadDescription, IsReportedAndChangesNothing) {
    Call call;
    std::string answer;
    call.onPhoneDescription = [&call, &answer](const std::string& sdp) {
        answer = sdp;
        call.record.Add("held back");
    };
    call.Connect();
    ASSERT_TRUE(call.record.WaitFor("held back"));
    std::size_t failures = 0;
    const auto expectFailure = [&call, &failures](const std::string& sdp, const char* type,
                                                  const char* name) {
        call.connection->SetRemoteDescription(sdp.c_str(), type);
        ++failures;
        const bool reported = call.record.WaitUntil([failures](const auto& all) {
            return static_cast<std::size_t>(std::count_if(all.begin(), all.end(), [](const auto& entry) {
                       return entry.what == "failure";
                   })) >= failures;
        });
        EXPECT_TRUE(reported) << name;
        return reported;
    };
    for (const Change& change : Changes()) {
        const std::string changed = change.apply(answer);
        ASSERT_NE(changed, answer) << change.name << " changes nothing:\n" << answer;
        ASSERT_TRUE(expectFailure(changed, "answer", change.name)) << changed;
        // An offer must survive the same faults; many of them fit no offer either.
        ASSERT_EQ(call.record.Count("stream"), 0U) << change.name;
    }
    for (const char* type : {"", "pranswer", "rollback", "ANSWER", "%s"})
        ASSERT_TRUE(expectFailure(answer, type, type));
    call.connection->SetRemoteDescription(nullptr, nullptr);
    ++failures;
    call.connection->SetRemoteDescription(answer.c_str(), "answer");
    EXPECT_TRUE(call.WaitForPictures(1));
    EXPECT_EQ(call.record.Count("failure"), failures);
    // A second answer answers nothing.
    ASSERT_TRUE(expectFailure(answer, "answer", "second answer"));
}

TEST(BadDescription, BadOffersAreReportedAndAGoodOneIsAnsweredAfterwards) {
    Call call;
    std::string offer;
    call.onPhoneDescription = [&call, &offer](const std::string& sdp) {
        offer = sdp;
        call.record.Add("held back");
    };
    call.phone.Offer();
    ASSERT_TRUE(call.record.WaitFor("held back"));
    const std::vector<Change> changes = {
        {"empty", [](const std::string&) { return std::string(); }},
        {"no media", [](const std::string& text) { return text.substr(0, text.find("m=")); }},
        {"no identifier", Replace("a=mid:[^\r]*\r\n", "")},
        {"no fingerprint", Replace("a=fingerprint:[^\r]*\r\n", "")},
        {"no role", Replace("a=setup:[^\r]*\r\n", "")},
        {"no user fragment", Replace("a=ice-ufrag:[^\r]*\r\n", "")},
        {"no known codec", Replace("H264/90000", "AV2/90000")},
        {"unknown kind", Replace("m=audio", "m=text")},
        {"no bundle", Replace("a=group:[^\r]*\r\n", "")},
        {"wants to receive", Replace("a=sendonly", "a=recvonly")},
        {"another protocol", Replace("UDP/TLS/RTP/SAVPF", "RTP/AVP")},
    };
    std::size_t failures = 0;
    for (const Change& change : changes) {
        const std::string changed = change.apply(offer);
        ASSERT_NE(changed, offer) << change.name << " changes nothing:\n" << offer;
        call.connection->SetRemoteDescription(changed.c_str(), "offer");
        ++failures;
        ASSERT_TRUE(call.record.WaitUntil([failures](const auto& all) {
            return static_cast<std::size_t>(std::count_if(all.begin(), all.end(), [](const auto& entry) {
                       return entry.what == "failure";
                   })) >= failures;
        })) << change.name;
        ASSERT_EQ(call.record.Count("stream"), 0U) << change.name;
    }
    call.connection->SetRemoteDescription(offer.c_str(), "offer");
    call.connection->CreateAnswer();
    EXPECT_TRUE(call.record.WaitFor("answer"));
    EXPECT_EQ(call.record.Count("failure"), failures);
}

}  // namespace
}  // namespace contract
