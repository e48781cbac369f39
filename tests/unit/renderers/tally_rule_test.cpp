#include "renderers/tally_rule.h"

#include <gtest/gtest.h>

namespace {

TEST(TallyRule, IsLitOnAirUnlessBothPictureAndSoundAreMuted) {
    struct Row {
        bool onAir, videoMuted, audioMuted, lit;
    };
    for (const Row row :
         {Row{false, false, false, false}, Row{false, true, false, false}, Row{false, false, true, false},
          Row{false, true, true, false}, Row{true, false, false, true}, Row{true, true, false, true},
          Row{true, false, true, true}, Row{true, true, true, false}}) {
        EXPECT_EQ(TallyIsLit(row.onAir, row.videoMuted, row.audioMuted), row.lit)
            << row.onAir << row.videoMuted << row.audioMuted;
    }
}

}  // namespace
