// Something else than a phone's answer: silence, another server, a refused join, errors out of order.
#include "tests/unit/stories/Story.h"

namespace {

using host_runtime::TallyState;
using stories::Phone;
using stories::Script;

class SilentPhone : public stories::Story {
protected:
    static constexpr double kEver = kSweep + kConnect;
};

TEST_F(SilentPhone, FailsAfterTwoSecondsEachTimeAndIsFoundWhenItSpeaks) {
    PhoneGoesSilent();
    OperatorAddsSource();
    AfterSeconds(21).PhoneSwitchesOn();
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kEver);
    Script script;
    script.IsUnanswered(0, 1, 21).At(24).Starts(5).Releases(4).At(24.05).ComesUpAfterErrors(5);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(SilentPhone, IsGivenUpAndFoundTenMinutesLater) {
    PhoneGoesSilent();
    OperatorAddsSource();
    AfterSeconds(603).PhoneSwitchesOn();
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kEver);
    Script script;
    script.IsUnanswered(0, 1, 603).At(606).Starts(102).Releases(101).At(606.05).ComesUp(102);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(SilentPhone, ThatRanBeforeIsFoundWhenItSpeaksAgain) {
    PhoneSwitchesOn();
    OperatorAddsSource();
    AfterSeconds(10).PictureIsThere().PhoneGoesSilent();
    AfterSeconds(30).PictureIsMissing().PhoneSwitchesOn();
    AfterSeconds(kEver).PictureIsThere();
    Script script;
    script.At(0).Starts(1).At(0.05).ComesUp(1).At(10).TellsOfTheClose("2", false).Closes(1);
    script.IsUnanswered(12, 2, 40).At(42).Starts(7).Releases(6).At(42.05).ComesUpAfterErrors(7);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

class SomeServer : public SilentPhone {};

// The session itself does not come back after a permanent error, and tells the user nothing; the sweep does.
TEST_F(SomeServer, IsAskedOncePerSweepUntilThePhoneIsThere) {
    PhoneBecomesSomeServer();
    OperatorAddsSource();
    AfterSeconds(15).PhoneSwitchesOn();
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kEver);
    Script script;
    script.At(0).Starts(1).At(0.05).Fails(1, 3).At(6).Starts(2).Releases(1).At(6.05).Fails(2, 3);
    script.At(12).Starts(3).Releases(2).At(12.05).Fails(3, 3);
    script.At(18).Starts(4).Releases(3).At(18.05).ComesUp(4);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

class RefusedJoin : public SilentPhone {};

TEST_F(RefusedJoin, IsRepeatedBySweepUntilItIsAccepted) {
    PhoneSwitchesOn().PhoneAnswersJoins(Phone::JoinAnswer::BusyAndGoodbye);
    OperatorAddsSource();
    AfterSeconds(10).PictureIsMissing().PhoneAnswersJoins(Phone::JoinAnswer::Ok);
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kEver);
    Script script;
    script.At(0).Starts(1).At(0.05).Opens(1).At(0.06).HearsJoinAnswer();
    script.At(0.065).TellsOfTheClose("none", true).Closes(1);
    script.At(6).Starts(2).Releases(1).At(6.05).Opens(2).At(6.06).HearsJoinAnswer();
    script.At(6.065).TellsOfTheClose("none", true).Closes(2);
    script.At(12).Starts(3).Releases(2).At(12.05).Opens(3);
    script.At(12.06).HearsJoinAnswer().Joins(3).At(12.07).Shows();
    ExpectTold(script);
    ExpectNothingMultiplied();
}

// The next error stops the session, without a series and without a word to the user.
TEST_F(RefusedJoin, SuppressesReconnectionUntilTheNextOpen) {
    PhoneSwitchesOn().PhoneAnswersJoins(Phone::JoinAnswer::BusyAndGoodbye);
    OperatorAddsSource();
    AfterSeconds(1).PhoneSwitchesOff();
    AfterSeconds(12).PhoneSwitchesOn().PhoneAnswersJoins(Phone::JoinAnswer::None);
    AfterSeconds(kEver).PictureIsThere();
    Script script;
    script.At(0).Starts(1).At(0.05).Opens(1).At(0.06).HearsJoinAnswer();
    script.At(0.065).TellsOfTheClose("none", true).Closes(1);
    script.At(6).Starts(2).Releases(1).At(6.001).Fails(2);
    script.At(12).Starts(3).Releases(2).At(12.001).Fails(3);
    script.At(18).Starts(4).Releases(3).At(18.05).ComesUp(4);
    ExpectTold(script);

    // After an open that was not refused, errors reconnect again.
    SocketReportsErrors(1);
    AfterSeconds(kConnect).PictureIsThere();
    const double failed = Now() - kConnect;
    script.At(failed).Fails(4, 2).BeginsReconnecting().Reopens(4).At(failed + 0.05).ComesUpAfterErrors(4);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(RefusedJoin, StopsAtAnErrorOfTheOpenSocket) {
    PhoneSwitchesOn().PhoneAnswersJoins(Phone::JoinAnswer::Busy);
    OperatorAddsSource();
    AfterSeconds(20).PhoneAnswersJoins(Phone::JoinAnswer::Ok);
    SocketReportsErrors(1);
    AfterSeconds(kEver).PictureIsThere();
    Script script;
    script.At(0).Starts(1).At(0.05).Opens(1).At(0.06).HearsJoinAnswer();
    script.At(20).Fails(1, 2).At(24).Starts(2).Releases(1).At(24.05).Opens(2);
    script.At(24.06).HearsJoinAnswer().Joins(2).At(24.07).Shows();
    ExpectTold(script);
    ExpectNothingMultiplied();
}

class ErrorBurst : public SilentPhone {
protected:
    Script UpAtFirst() {
        PhoneSwitchesOn();
        OperatorAddsSource();
        AfterSeconds(10).PictureIsThere();
        Script script;
        script.At(0).Starts(1).At(0.05).ComesUp(1);
        return script;
    }
};

TEST_F(ErrorBurst, OfOneReopensTheSameSocketAtOnce) {
    Script script = UpAtFirst();
    SocketReportsErrors(1);
    AfterSeconds(kConnect).PictureIsThere();
    script.At(10).Fails(1, 2).BeginsReconnecting().Reopens(1).At(10.05).ComesUpAfterErrors(1);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

// Each counts, and the attempts that they have scheduled are void once one has succeeded.
TEST_F(ErrorBurst, OfThreeReopensOnce) {
    Script script = UpAtFirst();
    SocketReportsErrors(3);
    AfterSeconds(kEver).PictureIsThere();
    script.At(10).Fails(1, 2).BeginsReconnecting().Fails(1, 2).Fails(1, 2).Reopens(1);
    script.At(10.05).ComesUpAfterErrors(1);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(ErrorBurst, ThatUsesUpTheAttemptsGivesUpAndIsBackAllTheSame) {
    Script script = UpAtFirst();
    SocketReportsErrors(12);
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kConnect);
    script.At(10).Fails(1, 2).BeginsReconnecting();
    for (int attempt = 1; attempt <= 8; ++attempt)
        script.Fails(1, 2);
    for (int further = 0; further < 3; ++further)
        script.Fails(1, 2).GivesUp();
    script.Reopens(1).At(10.05).ComesUp(1);  // attempt 0 was scheduled before it gave up
    ExpectTold(script);
    ExpectNothingMultiplied();
}

// A session that was started and has given up: the sweep stops it and starts it again.
TEST_F(ErrorBurst, OfAPhoneThatWentOffIsEndedByTheSweep) {
    Script script = UpAtFirst();
    SocketReportsErrors(10);
    PhoneSwitchesOff();
    AfterSeconds(1.5).PictureIsMissing();
    AfterSeconds(1).PhoneSwitchesOn();  // at 12.5
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kEver);
    script.At(10).Fails(1, 2).BeginsReconnecting();
    for (int attempt = 1; attempt <= 8; ++attempt)
        script.Fails(1, 2);
    script.Fails(1, 2).GivesUp().Reopens(1);
    script.At(10.05).Fails(1).GivesUp();
    script.At(11.000001).Reopens(1).At(11.001001).Fails(1).GivesUp();
    script.At(12).Closes(1).Starts(2).Releases(1).At(12.001).Fails(2).GivesUp();
    script.At(18).Starts(3).Releases(2).At(18.05).ComesUp(3);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

}  // namespace
