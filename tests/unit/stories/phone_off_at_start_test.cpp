// A direct source whose phone is switched on some time later.
#include "host_runtime/core/UserLog.h"
#include "tests/unit/stories/Story.h"

namespace {

using stories::Script;

class PhoneOffAtStart : public stories::Story {
protected:
    static constexpr double kEver = kSweep + kConnect;
};

TEST_F(PhoneOffAtStart, AndOnThreeSecondsLaterIsFoundByAnAttempt) {
    OperatorAddsSource();
    AfterSeconds(3).PhoneSwitchesOn();
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kEver);
    Script script;
    script.IsRefused(0, 1, 3).At(3.003003).Reopens(1).At(3.053003).ComesUpAfterErrors(1);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(PhoneOffAtStart, AndOnTwentySecondsLaterIsFoundByTheSweep) {
    OperatorAddsSource();
    AfterSeconds(20).PhoneSwitchesOn();
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kEver);
    Script script;
    script.IsRefused(0, 1, 20).At(24).Starts(5).Releases(4).At(24.05).ComesUpAfterErrors(5);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

// The series has ended by then, so its success is nobody's news.
TEST_F(PhoneOffAtStart, AndOnAMinuteLaterIsFoundByTheSweepAfterGivingUp) {
    OperatorAddsSource();
    AfterSeconds(60).PhoneSwitchesOn();
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kEver);
    Script script;
    script.IsRefused(0, 1, 60.5).At(66).Starts(12).Releases(11).At(66.05).ComesUp(12);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(PhoneOffAtStart, AndOnTenMinutesLaterIsFoundByTheSweepAfterGivingUp) {
    OperatorAddsSource();
    AfterSeconds(600).PhoneSwitchesOn();
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kEver);
    Script script;
    script.IsRefused(0, 1, 600.5).At(606).Starts(102).Releases(101).At(606.05).ComesUp(102);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(PhoneOffAtStart, IsDialledAtOnceWhenTheOperatorPressesConnect) {
    OperatorAddsSource();
    AfterSeconds(20).PhoneSwitchesOn().OperatorPressesConnect();
    AfterSeconds(kConnect).PictureIsThere();
    Script script;
    script.IsRefused(0, 1, 20).At(20).Starts(5).Releases(4).At(20.05).ComesUpAfterErrors(5);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(PhoneOffAtStart, LeavesNoJobsBehindHoweverLongItLasts) {
    OperatorAddsSource();
    AfterSeconds(120);
    const std::size_t afterTwoMinutes = JobsPending();
    AfterSeconds(3600);
    EXPECT_LE(JobsPending(), afterTwoMinutes);
    // One chain of pings for each socket of the last minute, the sweep, the host's revival, late attempts.
    EXPECT_LE(afterTwoMinutes, 14U);
}

// With the same host as its end: the user reads one line, however often it is written.
TEST_F(PhoneOffAtStart, FillsTheUserLogWithTwoEntriesOnly) {
    OperatorAddsSource();
    AfterSeconds(3600);
    const auto entries = host_runtime::UserLogEntries();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].text, "Rendezvous: Connection error - beginning reconnection.");
    EXPECT_EQ(entries[0].count, 1U);
    EXPECT_EQ(entries[1].text, "Rendezvous: Session connection failed. Attempt to reconnect failed.");
    EXPECT_GT(entries[1].count, 500U);
}

}  // namespace
