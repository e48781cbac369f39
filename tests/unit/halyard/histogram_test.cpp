#include "apps/halyard/Histogram.h"

#include <gtest/gtest.h>

namespace halyard {
namespace {

TEST(Histogram, HasNoPercentilesWithoutValues) {
    const Histogram histogram(0, 100);
    EXPECT_FALSE(histogram.Percentile(50));
    EXPECT_FALSE(histogram.Maximum());
}

TEST(Histogram, FindsNearestRankPercentiles) {
    Histogram histogram(0, 1000);
    for (int value = 100; value >= 1; --value)
        histogram.Add(value);
    EXPECT_DOUBLE_EQ(*histogram.Percentile(50), 50.0);
    EXPECT_DOUBLE_EQ(*histogram.Percentile(95), 95.0);
    EXPECT_DOUBLE_EQ(*histogram.Percentile(99), 99.0);
    EXPECT_DOUBLE_EQ(*histogram.Maximum(), 100.0);
}

TEST(Histogram, ASingleValueIsEveryPercentile) {
    Histogram histogram(-500, 500);
    histogram.Add(-12.34);
    EXPECT_NEAR(*histogram.Percentile(1), -12.3, 1e-9);
    EXPECT_NEAR(*histogram.Percentile(99), -12.3, 1e-9);
    EXPECT_DOUBLE_EQ(*histogram.Maximum(), -12.34);
}

TEST(Histogram, CountsValuesOutsideAtTheBound) {
    Histogram histogram(0, 10);
    histogram.Add(-5);
    histogram.Add(1e12);
    EXPECT_DOUBLE_EQ(*histogram.Percentile(50), 0.0);
    EXPECT_DOUBLE_EQ(*histogram.Maximum(), 10.0);
}

}  // namespace
}  // namespace halyard
