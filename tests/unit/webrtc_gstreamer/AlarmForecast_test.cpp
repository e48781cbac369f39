#include "webrtc_gstreamer/AlarmForecast.h"

#include <gtest/gtest.h>

#include <optional>

namespace webrtc_gstreamer {
namespace {

constexpr std::int64_t kPaceUs = 33'000;

// Wanted for the last time at 1'000'000.
AlarmForecast WithAPace() {
    AlarmForecast forecast;
    for (int before = 20; before >= 0; --before)
        forecast.Wanted(1'000'000 - before * kPaceUs);
    return forecast;
}

TEST(AlarmForecast, IsALittleBeforeTheTimeThatThePaceGives) {
    EXPECT_EQ(WithAPace().AfterRinging(1'000'000), 1'000'000 + kPaceUs - AlarmForecast::kEarlyUs);
}

TEST(AlarmForecast, KnowsNothingBeforeItWasWantedTwice) {
    AlarmForecast forecast;
    EXPECT_EQ(forecast.AfterRinging(0), std::nullopt);
    forecast.Wanted(1'000'000);
    EXPECT_EQ(forecast.AfterRinging(1'000'000), std::nullopt);
    forecast.Wanted(1'000'000 + kPaceUs);
    EXPECT_TRUE(forecast.AfterRinging(1'000'000 + kPaceUs));
}

// Otherwise it would ring for ever after the last picture.
TEST(AlarmForecast, IsGivenOnceForEachTimeThatItWasWanted) {
    AlarmForecast forecast = WithAPace();
    EXPECT_TRUE(forecast.AfterRinging(1'000'000));
    EXPECT_EQ(forecast.AfterRinging(1'000'000), std::nullopt);
    forecast.Wanted(1'000'000 + kPaceUs);
    EXPECT_TRUE(forecast.AfterRinging(1'000'000 + kPaceUs));
}

TEST(AlarmForecast, IsNeverInThePast) {
    EXPECT_EQ(WithAPace().AfterRinging(1'000'000 + kPaceUs - AlarmForecast::kEarlyUs), std::nullopt);
}

TEST(AlarmForecast, RequestsAndPausesAreNoPace) {
    AlarmForecast forecast = WithAPace();
    forecast.Wanted(1'002'000);
    forecast.Wanted(9'000'000);
    EXPECT_EQ(forecast.AfterRinging(9'000'000), 9'000'000 + kPaceUs - AlarmForecast::kEarlyUs);
}

TEST(AlarmForecast, OnePictureOutOfTimeHardlyChangesThePace) {
    AlarmForecast forecast = WithAPace();
    forecast.Wanted(1'000'000 + kPaceUs + 8'000);
    EXPECT_EQ(forecast.AfterRinging(1'000'000 + kPaceUs + 8'000),
              1'000'000 + kPaceUs + 8'000 + kPaceUs + 1'000 - AlarmForecast::kEarlyUs);
}

}  // namespace
}  // namespace webrtc_gstreamer
