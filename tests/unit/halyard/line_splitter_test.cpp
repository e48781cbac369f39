#include "apps/halyard/LineSplitter.h"

#include <gtest/gtest.h>

namespace halyard {
namespace {

using Lines = std::vector<std::string>;

TEST(LineSplitter, CutsAtLineFeedsWhereverThePiecesEnd) {
    LineSplitter splitter(100);
    EXPECT_EQ(splitter.Feed("one\ntw"), (Lines{"one"}));
    EXPECT_EQ(splitter.Feed(""), (Lines{}));
    EXPECT_EQ(splitter.Feed("o\n\nthree\r\nfo"), (Lines{"two", "", "three\r"}));
}

TEST(LineSplitter, TheLastLineNeedsNoEnd) {
    LineSplitter splitter(100);
    EXPECT_EQ(splitter.Finish(), (Lines{}));
    splitter.Feed("one\ntwo");
    EXPECT_EQ(splitter.Finish(), (Lines{"two"}));
    EXPECT_EQ(splitter.Finish(), (Lines{}));
}

TEST(LineSplitter, KeepsNoMoreThanTheLongestLine) {
    LineSplitter splitter(3);
    EXPECT_EQ(splitter.Feed("1234567"), (Lines{}));
    EXPECT_EQ(splitter.Feed("89\nabc\n"), (Lines{"123", "abc"}));
}

}  // namespace
}  // namespace halyard
