// A source that discovery found: no sweep looks after it, but the host starts it again when the plug-in has
// withdrawn it and every fifteen seconds.
#include "tests/unit/stories/Story.h"

namespace {

using stories::Script;

class DiscoveredPhone : public stories::Story {
protected:
    static constexpr double kEver = kRevival + kConnect;

    static Script Told() {
        Script script("phone-1");
        script.At(0).FindsPhone();
        return script;
    }
    void Take() {
        DiscoveryReportsPhone();
        OperatorTakesPhone();
    }
    // The refused series of a new session until the revival at 15.
    static Script RefusedAtFirst() {
        Script script = Told();
        script.At(0).Starts(1).At(0.001).Fails(1).BeginsReconnecting().Reopens(1).At(0.002).Fails(1);
        script.At(1.002001).Reopens(1).At(1.003001).Fails(1);
        return script;
    }
    static void RefusedUntilGivingUp(Script& script) {
        script.At(3.003003).Reopens(1).At(3.004003).Fails(1);
        script.At(6.004006).Reopens(1).At(6.005006).Fails(1);
        script.At(10.005010).Reopens(1).At(10.006010).Fails(1);
        script.At(15).Starts(2).Releases(1).At(15.001).Fails(2);
    }
    static void RefusedAfterTheFirstRevival(Script& script) {
        script.At(21.001006).Reopens(2).At(21.002006).Fails(2);
        script.At(28.002013).Reopens(2).At(28.003013).Fails(2);
    }
    // Up at 0.07, switched off at 10; the host starts it again after the withdrawal and at 15, 30 and 45.
    static Script LostAtTen() {
        Script script = Told();
        script.At(0).Starts(1).At(0.05).ComesUp(1).At(10).TellsOfTheClose("2", false).Closes(1);
        script.At(11).Starts(2).Releases(1).At(11.001).Fails(2).BeginsReconnecting().Reopens(2);
        script.At(11.002).Fails(2).At(12.002001).Reopens(2).At(12.003001).Fails(2);
        script.At(14.003003).Reopens(2).At(14.004003).Fails(2);
        script.At(15).Starts(3).Releases(2).At(15.001).Fails(3);
        script.At(19.001004).Reopens(3).At(19.002004).Fails(3);
        script.At(24.002009).Reopens(3).At(24.003009).Fails(3);
        script.At(30).Starts(4).Releases(3).At(30.001).Fails(4);
        script.At(37.001007).Reopens(4).At(37.002007).Fails(4);
        return script;
    }
    static void GivesUpAtEachRevival(Script& script, double until) {
        for (int revival = 2; revival * 15.0 < until; ++revival) {
            script.At(revival * 15.0).Starts(revival + 1).Releases(revival);
            script.At(revival * 15.0 + 0.001).Fails(revival + 1).GivesUp();
        }
    }
};

TEST_F(DiscoveredPhone, OffAtStartAndOnThreeSecondsLaterIsFoundByAnAttempt) {
    Take();
    AfterSeconds(3).PhoneSwitchesOn();
    AfterSeconds(kEver).PictureIsThere();
    Script script = RefusedAtFirst();
    script.At(3.003003).Reopens(1).At(3.053003).ComesUpAfterErrors(1);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(DiscoveredPhone, OffAtStartAndOnTwentySecondsLaterIsFoundByAnAttempt) {
    Take();
    AfterSeconds(20).PhoneSwitchesOn();
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kEver);
    Script script = RefusedAtFirst();
    RefusedUntilGivingUp(script);
    script.At(21.001006).Reopens(2).At(21.051006).ComesUpAfterErrors(2);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(DiscoveredPhone, OffAtStartAndOnAMinuteLaterIsFoundByTheRevival) {
    Take();
    AfterSeconds(60).PhoneSwitchesOn();
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kEver);
    Script script = RefusedAtFirst();
    RefusedUntilGivingUp(script);
    RefusedAfterTheFirstRevival(script);
    GivesUpAtEachRevival(script, 60.5);
    script.At(75).Starts(6).Releases(5).At(75.05).ComesUp(6);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(DiscoveredPhone, OffAtStartAndOnTenMinutesLaterIsFoundByTheRevival) {
    Take();
    AfterSeconds(600).PhoneSwitchesOn();
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kEver);
    Script script = RefusedAtFirst();
    RefusedUntilGivingUp(script);
    RefusedAfterTheFirstRevival(script);
    GivesUpAtEachRevival(script, 600.5);
    script.At(615).Starts(42).Releases(41).At(615.05).ComesUp(42);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(DiscoveredPhone, LostForASecondIsBackWithTheReportThatFollowsTheWithdrawal) {
    PhoneSwitchesOn();
    Take();
    AfterSeconds(10).PictureIsThere().PhoneSwitchesOff();
    AfterSeconds(0.9).PhoneSwitchesOn();
    AfterSeconds(1).PictureIsThere();
    Script script = Told();
    script.At(0).Starts(1).At(0.05).ComesUp(1).At(10).TellsOfTheClose("2", false).Closes(1);
    script.At(11).Starts(2).Releases(1).At(11.05).ComesUp(2);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(DiscoveredPhone, LostForHalfAMinuteIsBackWithTheRevival) {
    PhoneSwitchesOn();
    Take();
    AfterSeconds(10).PictureIsThere().PhoneSwitchesOff();
    AfterSeconds(30).PictureIsMissing().PhoneSwitchesOn();
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kEver);
    Script script = LostAtTen();
    script.At(45).Starts(5).Releases(4).At(45.05).ComesUpAfterErrors(5);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(DiscoveredPhone, LostForTenMinutesIsBackWithTheRevival) {
    PhoneSwitchesOn();
    Take();
    AfterSeconds(10).PictureIsThere().PhoneSwitchesOff();
    AfterSeconds(600).PictureIsMissing().PhoneSwitchesOn();
    AfterSeconds(kEver).PictureIsThere();
    EXPECT_LE(PictureTook(), kEver);
    Script script = LostAtTen();
    for (int revival = 3; revival <= 40; ++revival) {
        script.At(revival * 15.0).Starts(revival + 2).Releases(revival + 1);
        script.At(revival * 15.0 + 0.001).Fails(revival + 2).GivesUp();
    }
    script.At(615).Starts(43).Releases(42).At(615.05).ComesUp(43);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(DiscoveredPhone, AtAnotherAddressIsDialledThereAtOnce) {
    PhoneSwitchesOn();
    Take();
    AfterSeconds(10).PictureIsThere();
    ThePhone().SwitchOff();
    Network().AddPhone("10.0.0.31", "phone-1").SwitchOn();
    AfterSeconds(0.5).DiscoveryReportsPhoneAt("10.0.0.31");
    AfterSeconds(kConnect).PictureIsThere();
    Script script = Told();
    script.At(0).Starts(1).At(0.05).ComesUp(1).At(10).TellsOfTheClose("2", false).Closes(1);
    script.At(10.5).Starts(2, "10.0.0.31").Releases(1).At(10.55).ComesUp(2);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

// The source ends with its phone and begins anew with its return, in the same place of the host's list.
TEST_F(DiscoveredPhone, GoneFromDiscoveryAndBackIsAFreshSource) {
    PhoneSwitchesOn();
    Take();
    AfterSeconds(10).PhoneSwitchesOff().DiscoveryLosesPhone();
    AfterSeconds(50).PhoneSwitchesOn().DiscoveryReportsPhone();
    AfterSeconds(kConnect).PictureIsThere();
    ExpectNothingMultiplied();
}

}  // namespace
