// The operator gives a source another address while it runs, or while it looks for its phone.
#include "tests/unit/stories/Story.h"

namespace {

using host_runtime::TallyState;
using stories::Script;

class AddressChange : public stories::Story {
protected:
    static constexpr const char* kOtherHost = "10.0.0.30";
    static constexpr const char* kNobody = "10.0.0.99";

    AddressChange() {
        PhoneSwitchesOn();
        Other().SwitchOn();
    }
    stories::Phone& Other() {
        stories::Phone* const other = Network().PhoneAt(kOtherHost);
        return other != nullptr ? *other : Network().AddPhone(kOtherHost, "phone-2");
    }
    Script UpAtFirst() {
        OperatorAddsSource();
        AfterSeconds(10).PictureIsThere();
        Script script;
        script.At(0).Starts(1).At(0.05).ComesUp(1);
        return script;
    }
};

TEST_F(AddressChange, OfARunningSourceShowsTheOtherPhoneAtOnce) {
    Script script = UpAtFirst();
    OperatorMovesSourceTo(kOtherHost);
    AfterSeconds(kConnect).PictureIsThere("phone-2");
    EXPECT_LE(PictureTook(), kConnect);
    EXPECT_EQ(ThePhone().OpenClients(), 0U);
    script.At(10).Closes(1).Starts(2, kOtherHost).Releases(1).At(10.05).ComesUp(2, "phone-2");
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(AddressChange, ThereAndBackShowsTheFirstPhoneAgain) {
    Script script = UpAtFirst();
    OperatorMovesSourceTo(kOtherHost);
    AfterSeconds(10).OperatorMovesSourceTo(kHost);
    AfterSeconds(kConnect).PictureIsThere("phone-1");
    script.At(10).Closes(1).Starts(2, kOtherHost).Releases(1).At(10.05).ComesUp(2, "phone-2");
    script.At(20).Closes(2).Starts(3).Releases(2).At(20.05).ComesUp(3);
    ExpectTold(script);
    EXPECT_EQ(Other().OpenClients(), 0U);
    ExpectNothingMultiplied();
}

TEST_F(AddressChange, WhileNobodyAnswersIsDialledAtOnce) {
    OperatorAddsSource(kNobody);
    AfterSeconds(7).OperatorMovesSourceTo(kHost);
    AfterSeconds(kConnect).PictureIsThere();
    Script script;
    script.At(0).Starts(1, kNobody);
    script.At(2).Fails(1).BeginsReconnecting().Reopens(1, kNobody);
    script.At(4).Fails(1).At(5.000001).Reopens(1, kNobody);
    script.At(6).Starts(2, kNobody).Releases(1);
    script.At(7).Closes(2).Starts(3).Releases(2).At(7.05).ComesUpAfterErrors(3);
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(AddressChange, ToWhereNobodyAnswersEndsThePictureAndFollowsTheNewAddressOnly) {
    Script script = UpAtFirst();
    OperatorMovesSourceTo(kNobody);
    AfterSeconds(5).PictureIsMissing();
    Network().AddPhone(kNobody, "phone-3").SwitchOn();
    AfterSeconds(kSweep + kConnect).PictureIsThere("phone-3");
    EXPECT_EQ(ThePhone().OpenClients(), 0U);
    script.At(10).Closes(1).Starts(2, kNobody).Releases(1);
    script.At(12).Starts(3, kNobody).Releases(2);  // just before the first attempt would have failed
    script.At(14).Fails(3).BeginsReconnecting().Reopens(3, kNobody);
    script.At(16).Fails(3).At(17.000001).Reopens(3, kNobody).At(17.050001).Opens(3).ReportsSuccess();
    script.At(17.060001).Joins(3, "phone-3").At(17.070001).Shows("phone-3");
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(AddressChange, WithinARunningSeriesCarriesNoAttemptOver) {
    ThePhone().SwitchOff();
    OperatorAddsSource();
    AfterSeconds(2).OperatorMovesSourceTo(kOtherHost);
    AfterSeconds(kConnect).PictureIsThere("phone-2");
    AfterSeconds(20);
    Script script;
    script.IsRefused(0, 1, 2).At(2).Closes(1).Starts(2, kOtherHost).Releases(1);
    script.At(2.05).Opens(2).ReportsSuccess().At(2.06).Joins(2, "phone-2").At(2.07).Shows("phone-2");
    ExpectTold(script);
    ExpectNothingMultiplied();
}

TEST_F(AddressChange, OfASourceOnAirLightsTheOtherPhone) {
    UpAtFirst();
    TallyIs(TallyState::Program);
    AfterSeconds(1);
    EXPECT_THAT(ThePhone().TallyHeard(), testing::ElementsAre("lit"));
    OperatorMovesSourceTo(kOtherHost);
    AfterSeconds(1).PictureIsThere("phone-2");
    EXPECT_THAT(Other().TallyHeard(), testing::ElementsAre("lit"));
}

}  // namespace
