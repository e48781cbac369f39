#include "session/nxWebRtcSession_DebugLog.h"
#include "tests/unit/session/SessionTest.h"

namespace {

using fakes::FakeWebRtc;
using testing::ElementsAre;
using testing::IsEmpty;
using vo_webrtc::voDebug;

class SessionDebugLog : public tests::SessionTest {};

TEST_F(SessionDebugLog, EndsEachLineWithOneLineFeed) {
    session->SetDebugLogging(1);
    FakeWebRtc::WriteLogLine("abc\n");
    FakeWebRtc::WriteLogLine("abc");
    FakeWebRtc::WriteLogLine("");
    FakeWebRtc::WriteLogLine(nullptr);
    FakeWebRtc::WriteLogLine("\n");
    FakeWebRtc::WriteLogLine("100%s {} %n");
    EXPECT_THAT(trace, ElementsAre("webrtc: abc\n", "webrtc: abc\n", "webrtc: \n", "webrtc: 100%s {} %n\n"));
}

TEST_F(SessionDebugLog, CallsTheLibraryOnlyForAnotherLevel) {
    session->SetDebugLogging(0);
    EXPECT_THAT(FakeWebRtc::LogSettings(), IsEmpty());
    session->SetDebugLogging(2);
    session->SetDebugLogging(2);
    session->SetDebugLogging(0);
    session->SetDebugLogging(0);
    const auto settings = FakeWebRtc::LogSettings();
    ASSERT_EQ(settings.size(), 2U);
    EXPECT_TRUE(settings[0].hasSink);
    EXPECT_EQ(settings[0].level, voDebug::LogLevel::Info);
    EXPECT_FALSE(settings[1].hasSink);
    EXPECT_EQ(settings[1].level, voDebug::LogLevel::None);
}

TEST_F(SessionDebugLog, UsesOneSinkForAllLevels) {
    session->SetDebugLogging(1);
    session->SetDebugLogging(2);
    EXPECT_EQ(nxWebRtcSession::DebugLog::Alive(), 1);
}

TEST_F(SessionDebugLog, MakesItsSinkOnlyWhenItIsSwitchedOn) {
    session->SetDebugLogging(0);
    StartAndOpen();
    EXPECT_EQ(nxWebRtcSession::DebugLog::Alive(), 0);
    session->SetDebugLogging(-1);
    EXPECT_EQ(nxWebRtcSession::DebugLog::Alive(), 1);
}

TEST_F(SessionDebugLog, HandsTheLibraryOneLevelForEveryOtherThanZero) {
    for (const std::int32_t level : {1, 2, -1, 4})
        session->SetDebugLogging(level);
    const auto settings = FakeWebRtc::LogSettings();
    ASSERT_EQ(settings.size(), 4U);
    for (const auto& setting : settings) {
        EXPECT_TRUE(setting.hasSink);
        EXPECT_EQ(setting.level, voDebug::LogLevel::Info);
    }
}

TEST_F(SessionDebugLog, KeepsItsLevelOverTheStopOfARendezvous) {
    MakeSession(nxWebRtcSession::Mode::Rendezvous);
    session->SetDebugLogging(1);
    session->Stop();
    session->SetDebugLogging(1);
    const auto settings = FakeWebRtc::LogSettings();
    ASSERT_EQ(settings.size(), 2U);
    EXPECT_FALSE(settings[1].hasSink);
}

}  // namespace
