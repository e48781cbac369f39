#include "host_runtime/sources/Source.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "host/renderer/nxRenderer2.h"

namespace host_runtime {
namespace {

using testing::ElementsAre;

TEST(Source, TellsOfItsFirstPictureAndOfTheFirstAfterTwoSecondsWithout) {
    Source source("SOURCE", false);
    std::vector<bool> told;
    source.SetPictureListener([&told](bool afterStall) { told.push_back(afterStall); });
    source.NotePicture(1'000'000);
    source.NotePicture(3'000'000);
    EXPECT_THAT(told, ElementsAre(false));
    source.NotePicture(5'000'001);
    EXPECT_THAT(told, ElementsAre(false, true));
    source.NotePicture(5'033'334);
    EXPECT_THAT(told, ElementsAre(false, true));
}

}  // namespace
}  // namespace host_runtime
