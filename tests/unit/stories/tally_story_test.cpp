// What a phone's tally light shows after it was away.
#include "tests/unit/stories/Story.h"

namespace {

using host_runtime::TallyState;
using testing::ElementsAre;

class TallyStory : public stories::Story {
protected:
    void BringUp() {
        PhoneSwitchesOn();
        OperatorAddsSource();
        AfterSeconds(10).PictureIsThere();
    }
};

TEST_F(TallyStory, PhoneThatWasStartedAnewIsToldThatItIsOnAir) {
    BringUp();
    TallyIs(TallyState::Program);
    AfterSeconds(1).PhoneSwitchesOff();
    AfterSeconds(30).PhoneSwitchesOn();
    AfterSeconds(kSweep + 1).PictureIsThere();
    // The one who came back may have forgotten, so it hears the change from dark to lit.
    EXPECT_THAT(ThePhone().TallyHeard(), ElementsAre("lit", "dark", "lit"));
}

TEST_F(TallyStory, PhoneOutOfReachHearsOnItsReturnThatItWentOffAir) {
    BringUp();
    TallyIs(TallyState::Program);
    AfterSeconds(1).PhoneLeavesReach();
    AfterSeconds(27).TallyIs(TallyState::Idle);  // meanwhile a new socket is connecting
    AfterSeconds(5).PhoneReturnsToReach();
    AfterSeconds(kSweep + 1).PictureIsThere();
    EXPECT_THAT(ThePhone().TallyHeard(), ElementsAre("lit", "dark"));
}

TEST_F(TallyStory, PhoneOutOfReachHearsOnItsReturnThatItWentOnAir) {
    BringUp();
    PhoneLeavesReach();
    AfterSeconds(27).TallyIs(TallyState::Program);
    AfterSeconds(5).PhoneReturnsToReach();
    AfterSeconds(kSweep + 1).PictureIsThere();
    ASSERT_FALSE(ThePhone().TallyHeard().empty());
    EXPECT_EQ(ThePhone().TallyHeard().front(), "lit");
    EXPECT_EQ(ThePhone().TallyHeard().back(), "lit");
}

TEST_F(TallyStory, ChangeWithinAReconnectionIsHeardAfterIt) {
    BringUp();
    TallyIs(TallyState::Program);
    AfterSeconds(1).SocketReportsErrors(1);
    AfterSeconds(0.02).TallyIs(TallyState::Idle);  // the same socket is being reopened
    AfterSeconds(1).PictureIsThere();
    EXPECT_THAT(ThePhone().TallyHeard(), ElementsAre("lit", "dark"));
}

}  // namespace
