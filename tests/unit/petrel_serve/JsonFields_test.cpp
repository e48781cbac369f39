#include "apps/petrel/serve/JsonFields.h"

#include <gtest/gtest.h>

namespace petrel {
namespace {

TEST(JsonFields, AreThoseOfOneObject) {
    for (const std::string& text :
         {std::string(), std::string("x"), std::string("[]"), std::string("1"), std::string("null"),
          std::string("{"), std::string("{}x"), std::string("{\"a\":\"\xFF\"}"), std::string(200000, '['),
          std::string(200000, '{')}) {
        EXPECT_FALSE(JsonFields::Read(text));
    }
    EXPECT_TRUE(JsonFields::Read("{}"));
    std::string deep = "{\"a\":" + std::string(100000, '[') + std::string(100000, ']') + "}";
    EXPECT_TRUE(JsonFields::Read(deep));  // and ends again
}

TEST(JsonFields, AreReadWithTheirTypes) {
    auto fields = JsonFields::Read(R"({"text":"abc","number":7,"half":0.5,"flag":true})");
    EXPECT_EQ(fields->Text("text", 3), "abc");
    EXPECT_EQ(fields->Integer("number", 0, 7), 7);
    EXPECT_EQ(fields->OptionalNumber("half", 0, 1), 0.5);
    EXPECT_EQ(fields->OptionalNumber("number", 0, 10), 7);
    EXPECT_EQ(fields->OptionalFlag("flag"), true);
    EXPECT_TRUE(fields->AllGood());
}

TEST(JsonFields, MayBeMissingOrNullWhenTheyAreOptional) {
    auto fields = JsonFields::Read(R"({"a":null})");
    for (const char* key : {"a", "b"}) {
        EXPECT_EQ(fields->OptionalText(key, 9), "");
        EXPECT_EQ(fields->OptionalInteger(key, 0, 9), std::nullopt);
        EXPECT_EQ(fields->OptionalNumber(key, 0, 9), std::nullopt);
        EXPECT_EQ(fields->OptionalFlag(key), std::nullopt);
    }
    EXPECT_TRUE(fields->AllGood());
    fields->Text("a", 9);
    EXPECT_FALSE(fields->AllGood());
}

template <class Use>
bool IsGood(const char* text, Use use) {
    auto fields = JsonFields::Read(text);
    use(*fields);
    return fields->AllGood();
}

TEST(JsonFields, AreBadWhenTheyAreNotWhatTheyShouldBe) {
    const auto text = [](JsonFields& fields) { fields.Text("a", 3); };
    EXPECT_FALSE(IsGood("{}", text));
    EXPECT_FALSE(IsGood(R"({"a":1})", text));
    EXPECT_FALSE(IsGood(R"({"a":"abcd"})", text));
    EXPECT_FALSE(IsGood(R"({"a":"a\u0000"})", text));
    const auto integer = [](JsonFields& fields) { fields.Integer("a", 0, 5); };
    for (const char* bad : {"{}", R"({"a":"1"})", R"({"a":-1})", R"({"a":6})", R"({"a":1.5})",
                            R"({"a":18446744073709551615})", R"({"a":1e99})", R"({"a":[]})"}) {
        EXPECT_FALSE(IsGood(bad, integer)) << bad;
    }
    const auto number = [](JsonFields& fields) { fields.OptionalNumber("a", 0, 1); };
    EXPECT_FALSE(IsGood(R"({"a":1.01})", number));
    EXPECT_FALSE(IsGood(R"({"a":"0"})", number));
    const auto flag = [](JsonFields& fields) { fields.OptionalFlag("a"); };
    EXPECT_FALSE(IsGood(R"({"a":1})", flag));
    const auto objects = [](JsonFields& fields) { fields.Objects("a", 2); };
    EXPECT_TRUE(IsGood(R"({"a":[{},{}]})", objects));
    EXPECT_FALSE(IsGood(R"({"a":[{},{},{}]})", objects));
    EXPECT_FALSE(IsGood(R"({"a":[{},1]})", objects));
    EXPECT_FALSE(IsGood(R"({"a":{}})", objects));
    EXPECT_FALSE(IsGood("{}", objects));
}

}  // namespace
}  // namespace petrel
