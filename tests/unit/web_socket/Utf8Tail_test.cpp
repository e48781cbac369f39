#include "host_runtime/network/Utf8Tail.h"

#include <gtest/gtest.h>

#include <string>

namespace host_runtime {
namespace {

TEST(Utf8Tail, OfAWholeTextIsComplete) {
    for (const char* text :
         {"", "a", "a\xC3\xB6", "\xE2\x82\xAC", "\xF0\x9F\x8E\xA5", "\xF0\x9F\x8E\xA5.", "\x7F"})
        EXPECT_FALSE(EndsInsideALetter(text)) << text;
}

TEST(Utf8Tail, OfACutTextIsNot) {
    for (const std::string& letter :
         {std::string("\xC3\xB6"), std::string("\xE2\x82\xAC"), std::string("\xF0\x9F\x8E\xA5")}) {
        for (std::size_t kept = 1; kept < letter.size(); ++kept) {
            EXPECT_TRUE(EndsInsideALetter(letter.substr(0, kept)));
            EXPECT_TRUE(EndsInsideALetter("text " + letter + letter.substr(0, kept)));
        }
    }
}

}  // namespace
}  // namespace host_runtime
