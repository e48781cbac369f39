#include "connection/ice_servers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const IceServerEntry kFallback{kFallbackStunUrl, "", ""};

TEST(IceServers, FallbackIsAPublicStunServerOnPort19302) {
    EXPECT_THAT(kFallbackStunUrl, testing::MatchesRegex("stun:[^:]+:19302"));
}

TEST(IceServers, EmptyArrayNullAndEmptyObjectAreNoServers) {
    EXPECT_THAT(ParseIceServers("[]"), IsEmpty());
    EXPECT_THAT(ParseIceServers("null"), IsEmpty());
    EXPECT_THAT(ParseIceServers("{}"), IsEmpty());
}

TEST(IceServers, EntryIsReadWithItsCredentials) {
    EXPECT_THAT(ParseIceServers(R"([{"url":"turn:192.0.2.1:3478","turnUsername":"u","turnPassword":"p"}])"),
                ElementsAre(IceServerEntry{"turn:192.0.2.1:3478", "u", "p"}));
}

TEST(IceServers, AbsentKeysAreEmptyTexts) {
    EXPECT_THAT(ParseIceServers(R"([{"url":"turn:192.0.2.1:3478","turnUsername":"u"},{}])"),
                ElementsAre(IceServerEntry{"turn:192.0.2.1:3478", "u", ""}, IceServerEntry{}));
}

TEST(IceServers, OrderOfTheArrayIsKept) {
    EXPECT_THAT(
        ParseIceServers(R"([{"url":"b"},{"url":"a"},{"url":"c"}])"),
        ElementsAre(IceServerEntry{"b", "", ""}, IceServerEntry{"a", "", ""}, IceServerEntry{"c", "", ""}));
}

TEST(IceServers, MemberValuesOfAnObjectAreEntries) {
    EXPECT_THAT(ParseIceServers(R"({"second":{"url":"b"},"first":{"url":"a"}})"),
                ElementsAre(IceServerEntry{"a", "", ""}, IceServerEntry{"b", "", ""}));
}

TEST(IceServers, AnythingUnreadableIsTheFallbackAlone) {
    for (const char* text :
         {"", " ", "no JSON", "[", "5", "true", "\"text\"", R"(["stun:192.0.2.1"])", R"([{"url":"a"},"b"])",
          R"([{"url":"a"},null])", R"([{"url":5}])", R"([{"url":"a","turnPassword":null}])", R"([[]])",
          R"({"url":"a"})", "[{\"url\":\"\xFF\"}]"}) {
        EXPECT_THAT(ParseIceServers(text), ElementsAre(kFallback)) << text;
    }
}

TEST(IceServers, DeepNestingIsTheFallback) {
    EXPECT_THAT(ParseIceServers(std::string(200'000, '[') + std::string(200'000, ']')),
                ElementsAre(kFallback));
}

}  // namespace
