// A direct source whose phone goes away while its picture runs, and comes back.
#include "tests/unit/stories/Story.h"

namespace {

using stories::Script;

class PhoneLost : public stories::Story {
protected:
    static constexpr double kEver = kSweep + kConnect;

    // Up from 0.07 on, and lost at 10.
    Script UpAtFirst() {
        Script script;
        script.At(0).Starts(1).At(0.05).ComesUp(1);
        return script;
    }
    void BringUp() {
        PhoneSwitchesOn();
        OperatorAddsSource();
        AfterSeconds(10).PictureIsThere();
    }
};

TEST_F(PhoneLost, ForASecondIsBackWithTheNextSweep) {
    BringUp();
    PhoneSwitchesOff();
    AfterSeconds(1).PictureIsMissing().PhoneSwitchesOn();
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kEver);
    Script script = UpAtFirst();
    script.At(10).TellsOfTheClose("2", false).Closes(1);
    script.At(12).Starts(2).Releases(1).At(12.05).ComesUp(2);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(PhoneLost, ForHalfAMinuteIsBackWithTheNextSweep) {
    BringUp();
    PhoneSwitchesOff();
    AfterSeconds(30).PictureIsMissing().PhoneSwitchesOn();
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kEver);
    Script script = UpAtFirst();
    script.At(10).TellsOfTheClose("2", false).Closes(1);
    script.IsRefused(12, 2, 40).At(42).Starts(7).Releases(6).At(42.05).ComesUpAfterErrors(7);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(PhoneLost, ForTenMinutesIsBackWithTheNextSweep) {
    BringUp();
    PhoneSwitchesOff();
    AfterSeconds(600).PictureIsMissing().PhoneSwitchesOn();
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kEver);
    Script script = UpAtFirst();
    script.At(10).TellsOfTheClose("2", false).Closes(1);
    script.IsRefused(12, 2, 610).At(612).Starts(102).Releases(101).At(612.05).ComesUp(102);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(PhoneLost, OutOfReachForASecondKeepsItsConnection) {
    BringUp();
    PhoneLeavesReach();
    AfterSeconds(1).PictureIsMissing().PhoneReturnsToReach();
    AfterSeconds(1).PictureIsThere();
    Script script = UpAtFirst();
    ExpectTold(script.At(11.07).Shows());
    ExpectNothingMultiplied();
}

TEST_F(PhoneLost, OutOfReachForHalfAMinuteIsFoundByAnAttempt) {
    BringUp();
    PhoneLeavesReach();
    AfterSeconds(30).PictureIsMissing().PhoneReturnsToReach();
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kEver);
    Script script = UpAtFirst();
    script.At(19).TellsOfTheClose("2", false).Closes(1);
    script.IsUnanswered(24, 2, 40).At(41.000003).Reopens(4).At(41.050003).ComesUpAfterErrors(4);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(PhoneLost, OutOfReachForTenMinutesIsBackWithTheNextSweep) {
    BringUp();
    PhoneLeavesReach();
    AfterSeconds(600).PictureIsMissing().PhoneReturnsToReach();
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kEver);
    Script script = UpAtFirst();
    script.At(19).TellsOfTheClose("2", false).Closes(1);
    script.IsUnanswered(24, 2, 610).At(612).Starts(100).Releases(99).At(612.05).ComesUp(100);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

// Only an open brings the count of attempts back, so a second outage begins its series anew ...
TEST_F(PhoneLost, TwiceBeginsAnewEachTime) {
    BringUp();
    PhoneSwitchesOff();
    AfterSeconds(30).PhoneSwitchesOn();
    AfterSeconds(10).PictureIsThere().PhoneSwitchesOff();  // at 50
    AfterSeconds(30).PhoneSwitchesOn();
    AfterSeconds(kEver).PictureIsThere();
    Script script = UpAtFirst();
    script.At(10).TellsOfTheClose("2", false).Closes(1);
    script.IsRefused(12, 2, 40).At(42).Starts(7).Releases(6).At(42.05).ComesUpAfterErrors(7);
    script.At(50).TellsOfTheClose("2", false).Closes(7);
    script.IsRefused(54, 8, 80).At(84).Starts(13).Releases(12).At(84.05).ComesUpAfterErrors(13);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

class ClosedSocket : public PhoneLost {};

TEST_F(ClosedSocket, WithoutAnErrorIsOpenedAgainByTheSweepOnly) {
    BringUp();
    ConnectionEnds(std::nullopt);
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kEver);
    Script script = UpAtFirst();
    script.At(10).TellsOfTheClose("none", true).Closes(1);
    script.At(12).Starts(2).Releases(1).At(12.05).ComesUp(2);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(ClosedSocket, WithAnErrorIsOpenedAgainByTheSweepOnly) {
    BringUp();
    ConnectionEnds(cWebSocket::Error::Protocol);
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kEver);
    Script script = UpAtFirst();
    script.At(10).TellsOfTheClose("4", false).Closes(1);
    script.At(12).Starts(2).Releases(1).At(12.05).ComesUp(2);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(ClosedSocket, ByAPhoneThatEndsIsOpenedAgainWhenThePhoneIsBack) {
    BringUp();
    PhoneSaysGoodbye();
    AfterSeconds(3).PictureIsMissing().PhoneSwitchesOn();
    AfterSeconds(kEver).PictureIsThere();
    Script script = UpAtFirst();
    script.At(10).TellsOfTheClose("none", true).Closes(1);
    script.At(12).Starts(2).Releases(1).At(12.001).Fails(2).BeginsReconnecting().Reopens(2);
    script.At(12.002).Fails(2).At(13.002001).Reopens(2).At(13.052001).ComesUpAfterErrors(2);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(ClosedSocket, AgainAndAgainMultipliesNothing) {
    BringUp();
    for (int times = 0; times < 50; ++times) {
        ConnectionEnds(times % 2 == 0 ? std::optional(cWebSocket::Error::Lost) : std::nullopt);
        AfterSeconds(kEver).PictureIsThere();
    }
    EXPECT_EQ(TimesTold("socket 51 made"), 1U);
    EXPECT_EQ(TimesTold("socket 52 made"), 0U);
    ExpectNothingMultiplied();
}

}  // namespace
