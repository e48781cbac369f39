#include "host/core/zRecord.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace {

TEST(FourCharacterCode, SpellsItsTextBigEndian) {
    EXPECT_EQ(FourCC("vido"), 0x7669646FU);
    EXPECT_EQ(zKey(FourCC("mwid")).Name(), "mwid");
}

TEST(Variable, CodeAndTextOfFourCharactersNameOneField) {
    zVariable variable;
    variable.SetInt32(FourCC("mwid"), 640);
    EXPECT_EQ(variable.AsInt32("mwid", 0), 640);
    variable.SetInt32("mwid", 320);
    EXPECT_EQ(variable.AsInt32(FourCC("mwid"), 0), 320);
    variable.SetCString("titl", "a title");
    EXPECT_STREQ(variable.AsCString(FourCC("titl"), ""), "a title");
}

TEST(Variable, MissingFieldYieldsTheDefault) {
    const zVariable variable;
    EXPECT_EQ(variable.AsInt32("mwid", 7), 7);
    EXPECT_EQ(variable.AsUInt64("kestrel", 8U), 8U);
    EXPECT_TRUE(variable.AsBool("autoDiscovered", true));
    EXPECT_STREQ(variable.AsCString("name", "none"), "none");
    EXPECT_EQ(variable.AsCString("name", nullptr), nullptr);
    EXPECT_FALSE(variable.Has("name"));
}

TEST(Variable, FieldOfAnotherTypeYieldsTheDefault) {
    zVariable variable;
    variable.SetCString("text", "12");
    variable.SetBool("flag", true);
    variable.SetInt32("numb", 1);
    EXPECT_EQ(variable.AsInt32("text", -1), -1);
    EXPECT_FALSE(variable.AsBool("text", false));
    EXPECT_EQ(variable.AsInt32("flag", -1), -1);
    EXPECT_FALSE(variable.AsBool("numb", false));
    EXPECT_STREQ(variable.AsCString("numb", "default"), "default");
}

TEST(Variable, NumberOfEitherWidthIsReadWhenItFits) {
    zVariable variable;
    variable.SetUInt64("cBs0", 5U);
    EXPECT_EQ(variable.AsInt32("cBs0", -1), 5);
    variable.SetUInt64("cBs0", std::uint64_t{1} << 31);
    EXPECT_EQ(variable.AsInt32("cBs0", -1), -1);
    variable.SetInt32("cBs0", 6);
    EXPECT_EQ(variable.AsUInt64("cBs0", 0U), 6U);
    variable.SetInt32("cBs0", -6);
    EXPECT_EQ(variable.AsUInt64("cBs0", 9U), 9U);
    EXPECT_EQ(variable.AsInt32("cBs0", 0), -6);
}

TEST(Variable, ExtremesSurvive) {
    zVariable variable;
    variable.SetInt32("low ", std::numeric_limits<std::int32_t>::min());
    variable.SetUInt64("high", std::numeric_limits<std::uint64_t>::max());
    variable.SetUInt64("a longer name", std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(variable.AsInt32("low ", 0), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(variable.AsUInt64("high", 0U), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(variable.AsUInt64("a longer name", 0U), std::numeric_limits<std::uint64_t>::max());
}

TEST(Variable, NullTextIsStoredAsTheEmptyText) {
    zVariable variable;
    variable.SetCString("name", nullptr);
    EXPECT_TRUE(variable.Has("name"));
    EXPECT_STREQ(variable.AsCString("name", "default"), "");
}

TEST(Variable, NewValueReplacesOneOfAnotherType) {
    zVariable variable;
    variable.SetInt32("mixd", 1);
    variable.SetCString("mixd", "text");
    EXPECT_STREQ(variable.AsCString("mixd", ""), "text");
    EXPECT_EQ(variable.AsInt32("mixd", -1), -1);
    variable.SetBool("mixd", true);
    EXPECT_TRUE(variable.AsBool("mixd", false));
    EXPECT_EQ(variable.AsCString("mixd", nullptr), nullptr);
}

TEST(Variable, TextMayComeFromTheFieldItself) {
    zVariable variable;
    variable.SetCString("name", "a text that is too long to be kept in place");
    variable.SetCString("name", variable.AsCString("name", ""));
    EXPECT_STREQ(variable.AsCString("name", ""), "a text that is too long to be kept in place");
}

TEST(Variable, KeepsMoreNumbersThanFitInPlace) {
    zVariable variable;
    for (std::int32_t index = 0; index < 40; ++index)
        variable.SetInt32(FourCC("aa00") + static_cast<zFourCC>(index), index);
    for (std::int32_t index = 0; index < 40; ++index)
        EXPECT_EQ(variable.AsInt32(FourCC("aa00") + static_cast<zFourCC>(index), -1), index);
    variable.Erase(FourCC("aa00"));               // makes room in place
    variable.SetInt32(FourCC("aa00") + 39, 100);  // a number that did not fit then
    EXPECT_EQ(variable.AsInt32(FourCC("aa00") + 39, -1), 100);
    std::size_t fields = 0;
    variable.ForEachField([&fields](const std::string&, const zVariable::Value&) { ++fields; });
    EXPECT_EQ(fields, 39U);
}

TEST(Variable, EraseAndClearRemoveFields) {
    zVariable variable;
    variable.SetInt32("one1", 1);
    variable.SetInt32("two2", 2);
    variable.SetCString("three", "3");
    variable.Erase("one1");
    variable.Erase("three");
    variable.Erase("never there");
    EXPECT_FALSE(variable.Has("one1"));
    EXPECT_FALSE(variable.Has("three"));
    EXPECT_EQ(variable.AsInt32("two2", 0), 2);
    variable.ClearFields();
    EXPECT_FALSE(variable.Has("two2"));
}

TEST(Variable, NullNameIsTheEmptyName) {
    zVariable variable;
    variable.SetCString(static_cast<const char*>(nullptr), "value");
    EXPECT_STREQ(variable.AsCString("", nullptr), "value");
}

TEST(Variable, VisitsEachFieldWithItsNameAndType) {
    zVariable variable;
    variable.SetBool("vidI", true);
    variable.SetCString("name", "Petrel");
    std::vector<std::string> names;
    variable.ForEachField([&names](const std::string& name, const zVariable::Value& value) {
        names.push_back(name + (std::holds_alternative<bool>(value) ? ":bool" : ":text"));
    });
    EXPECT_EQ(names, (std::vector<std::string>{"vidI:bool", "name:text"}));
}

TEST(Record, CopiesAreIndependent) {
    zRecord original;
    original.SetElementName("panel");
    original.SetInt32("mwid", 1);
    original.SetCString("name", "first");
    original.AddChild().SetCString("name", "child");
    zRecord copy(original);
    copy.SetInt32("mwid", 2);
    copy.SetCString("name", "second");
    copy.Child(0)->SetCString("name", "other child");
    EXPECT_EQ(original.AsInt32("mwid", 0), 1);
    EXPECT_STREQ(original.AsCString("name", ""), "first");
    EXPECT_STREQ(original.Child(0)->AsCString("name", ""), "child");
    original = copy;
    EXPECT_STREQ(original.Child(0)->AsCString("name", ""), "other child");
    EXPECT_EQ(original.ElementName(), "panel");
    const zRecord& same = original;
    original = same;
    EXPECT_EQ(original.AsInt32("mwid", 0), 2);
}

TEST(Record, MovesLeaveAnEmptyRecord) {
    zRecord original;
    original.SetInt32("mwid", 1);
    original.SetCString("name", "first");
    original.AddChild();
    const zRecord moved(std::move(original));
    EXPECT_EQ(moved.AsInt32("mwid", 0), 1);
    EXPECT_TRUE(moved.HasChildren());
    EXPECT_FALSE(original.Has("mwid"));  // NOLINT: what is left is defined
    EXPECT_FALSE(original.Has("name"));
    EXPECT_FALSE(original.HasChildren());
}

TEST(Record, ChildrenKeepTheirPlaceWhileOthersAreAdded) {
    zRecord record;
    zRecord* first = &record.AddChild();
    first->SetInt32("numb", 0);
    for (std::int32_t index = 1; index < 100; ++index)
        record.AddChild().SetInt32("numb", index);
    EXPECT_EQ(record.Child(0), first);
    EXPECT_EQ(record.ChildCount(), 100U);
    EXPECT_EQ(record.Child(57)->AsInt32("numb", -1), 57);
    EXPECT_EQ(record.Child(100), nullptr);
    record.ClearChildren();
    EXPECT_FALSE(record.HasChildren());
    EXPECT_EQ(record.Child(0), nullptr);
}

}  // namespace
