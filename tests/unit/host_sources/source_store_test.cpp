#include "host_runtime/sources/SourceStore.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "host_runtime/sources/RecordJson.h"
#include "tests/unit/host_sources/TemporaryDirectory.h"

namespace host_runtime {
namespace {

class SourceStoreTest : public testing::Test {
protected:
    std::filesystem::path File() const { return directory / "sources.json"; }

    static StoredSource Direct(const char* identifier, const char* address) {
        StoredSource source;
        source.identifier = identifier;
        source.settings.SetBool("autoDiscovered", false);
        source.settings.SetCString("kestrel_ip_address", address);
        return source;
    }

    bool Opens(SourceStore& store) {
        std::string error;
        const bool open = store.Open(directory.Path(), error);
        EXPECT_TRUE(open) << error;
        return open;
    }

    std::size_t FilesInDirectory() const {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(directory.Path()), {}));
    }

    const tests::TemporaryDirectory directory;
};

TEST_F(SourceStoreTest, KeepsSourcesAndSettingsOverARestart) {
    {
        SourceStore store;
        ASSERT_TRUE(Opens(store));
        StoredSource first = Direct("ONE", "10.0.0.1");
        first.audioMuted = true;
        first.settings.SetInt32("level", -7);
        first.settings.SetUInt64("cBs0", 0x0001000100010001U);
        first.settings.SetCString("name", "T\xC3\xA9l\xC3\xA9 \"1\"");
        EXPECT_TRUE(store.Put(first));
        EXPECT_TRUE(store.Put(Direct("TWO", "10.0.0.2")));
    }
    SourceStore again;
    ASSERT_TRUE(Opens(again));
    ASSERT_EQ(again.Sources().size(), 2U);
    const StoredSource& first = again.Sources()[0];
    EXPECT_EQ(first.identifier, "ONE");
    EXPECT_TRUE(first.audioMuted);
    EXPECT_FALSE(first.videoMuted);
    EXPECT_FALSE(first.settings.AsBool("autoDiscovered", true));
    EXPECT_EQ(first.settings.AsInt32("level", 0), -7);
    EXPECT_EQ(first.settings.AsUInt64("cBs0", 0), 0x0001000100010001U);
    EXPECT_STREQ(first.settings.AsCString("name", ""), "T\xC3\xA9l\xC3\xA9 \"1\"");
    EXPECT_EQ(again.Sources()[1].identifier, "TWO");
    EXPECT_TRUE(again.TakeNotices().empty());
}

TEST_F(SourceStoreTest, ForgetsErasedSourcesAndErasedFields) {
    SourceStore store;
    ASSERT_TRUE(Opens(store));
    StoredSource source = Direct("ONE", "10.0.0.1");
    source.settings.SetCString("note", "old");
    store.Put(source);
    store.Put(Direct("TWO", "10.0.0.2"));
    source.settings.Erase("note");
    store.Put(source);
    store.Erase("TWO");

    SourceStore again;
    ASSERT_TRUE(Opens(again));
    ASSERT_EQ(again.Sources().size(), 1U);
    EXPECT_FALSE(again.Sources()[0].settings.Has("note"));
}

TEST_F(SourceStoreTest, FindsADirectSourceByThePhonesAddress) {
    SourceStore store;
    ASSERT_TRUE(Opens(store));
    StoredSource discovered = Direct("PHONE", "10.0.0.1:9001");
    discovered.settings.SetBool("autoDiscovered", true);
    store.Put(discovered);
    store.Put(Direct("EMPTY", ""));
    EXPECT_EQ(store.FindByAddress("10.0.0.1"), nullptr);
    store.Put(Direct("ONE", "10.0.0.1"));
    ASSERT_NE(store.FindByAddress(" ws://10.0.0.1:5000/"), nullptr);
    EXPECT_EQ(store.FindByAddress("10.0.0.1")->identifier, "ONE");
    EXPECT_EQ(store.FindByAddress("10.0.0.2"), nullptr);
    EXPECT_EQ(store.FindByAddress(""), nullptr);
}

TEST_F(SourceStoreTest, KeepsKeysThatItDoesNotKnow) {
    tests::WriteText(File(), R"({"version": 7, "theme": {"dark": true}, "sources": [
        {"identifier": "ONE", "colour": [1, 2], "settings": {"kestrel_ip_address": "10.0.0.1", "gain": 0.5,
         "nested": {"a": 1}}}, {"identifier": "broken"}]})");
    SourceStore store;
    ASSERT_TRUE(Opens(store));
    ASSERT_EQ(store.Sources().size(), 1U);
    EXPECT_EQ(store.TakeNotices().size(), 1U) << "about the source without settings";
    StoredSource source = store.Sources()[0];
    source.settings.SetCString("kestrel_ip_address", "10.0.0.9");
    EXPECT_TRUE(store.Put(source));

    const auto written = nlohmann::json::parse(tests::ReadText(File()));
    EXPECT_EQ(written["version"], 7);
    EXPECT_EQ(written["theme"]["dark"], true);
    ASSERT_EQ(written["sources"].size(), 2U);
    EXPECT_EQ(written["sources"][0]["colour"], nlohmann::json({1, 2}));
    EXPECT_EQ(written["sources"][0]["settings"]["gain"], 0.5);
    EXPECT_EQ(written["sources"][0]["settings"]["nested"]["a"], 1);
    EXPECT_EQ(written["sources"][0]["settings"]["kestrel_ip_address"], "10.0.0.9");
    EXPECT_EQ(written["sources"][1]["identifier"], "broken");
}

TEST_F(SourceStoreTest, KeepsNumbersThatNoFieldHolds) {
    tests::WriteText(File(), R"({"sources": [{"identifier": "ONE", "settings": {"far": -3000000000,
        "half": 0.5, "level": -7}}]})");
    SourceStore store;
    ASSERT_TRUE(Opens(store));
    StoredSource source = store.Sources().at(0);
    EXPECT_FALSE(source.settings.Has("far"));
    source.settings.Erase("level");
    EXPECT_TRUE(store.Put(source));
    const auto written = nlohmann::json::parse(tests::ReadText(File()));
    EXPECT_EQ(written["sources"][0]["settings"], (nlohmann::json{{"far", -3000000000}, {"half", 0.5}}));
}

TEST(RecordJson, AWrittenRecordIsReadWithoutATextBetween) {
    zRecord record;
    record.SetInt32("few", 7);
    record.SetInt32("none", -7);
    record.SetUInt64("many", 5'000'000'000);
    nlohmann::json object = nlohmann::json::object();
    WriteRecord(record, object);
    const zRecord again = ReadRecord(object);
    EXPECT_EQ(again.AsInt32("few", 0), 7);
    EXPECT_EQ(again.AsInt32("none", 0), -7);
    EXPECT_EQ(again.AsUInt64("many", 0), 5'000'000'000U);
}

TEST_F(SourceStoreTest, SetsADamagedFileAsideAndSaysSo) {
    const std::string tooDeep(100'000, '[');
    int expectedFiles = 0;
    for (const std::string& text : {std::string("{\"sources\": ["), std::string(), std::string("[]"),
                                    std::string("{\"sources\": {}}"), std::string("\xFF\xFE"), tooDeep}) {
        tests::WriteText(File(), text);
        SourceStore store;
        ASSERT_TRUE(Opens(store));
        EXPECT_TRUE(store.Sources().empty());
        const std::vector<std::string> notices = store.TakeNotices();
        ASSERT_EQ(notices.size(), 1U);
        ++expectedFiles;
        const std::string aside = "sources.json.damaged-" + std::to_string(expectedFiles);
        EXPECT_NE(notices[0].find(aside), std::string::npos) << notices[0];
        EXPECT_EQ(tests::ReadText(directory / aside.c_str()), text);
        EXPECT_FALSE(std::filesystem::exists(File()));
    }
    SourceStore store;
    ASSERT_TRUE(Opens(store));
    EXPECT_TRUE(store.Put(Direct("ONE", "10.0.0.1"))) << "and works on";
}

TEST_F(SourceStoreTest, LeavesOutIdentifiersThatWouldBreakAMessage) {
    tests::WriteText(File(), R"({"sources": [{"identifier": "a\"b", "settings": {}},
        {"identifier": "a\\b", "settings": {}}, {"identifier": "", "settings": {}}, {"settings": {}}, 7,
        {"identifier": "ONE", "settings": {}}, {"identifier": "ONE", "settings": {"x": 1}}]})");
    SourceStore store;
    ASSERT_TRUE(Opens(store));
    ASSERT_EQ(store.Sources().size(), 1U);
    EXPECT_EQ(store.Sources()[0].identifier, "ONE");
    EXPECT_FALSE(store.Sources()[0].settings.Has("x"));
    EXPECT_EQ(store.TakeNotices().size(), 6U);
}

TEST_F(SourceStoreTest, MakesTheDirectory) {
    SourceStore store;
    std::string error;
    EXPECT_TRUE(store.Open(directory / "a/b/c", error)) << error;
    EXPECT_TRUE(store.Put(Direct("ONE", "10.0.0.1")));
    EXPECT_TRUE(std::filesystem::exists(directory / "a/b/c/sources.json"));
}

TEST_F(SourceStoreTest, RefusesADirectoryThatCannotBeUsed) {
    tests::WriteText(directory / "file", "");
    SourceStore store;
    std::string error;
    EXPECT_FALSE(store.Open(directory / "file/below", error));
    EXPECT_NE(error.find("file/below"), std::string::npos) << error;
}

TEST_F(SourceStoreTest, WorksWithoutADirectory) {
    SourceStore store;
    EXPECT_TRUE(store.Put(Direct("ONE", "10.0.0.1")));
    EXPECT_NE(store.Find("ONE"), nullptr);
    EXPECT_TRUE(store.Erase("ONE"));
    EXPECT_EQ(store.Find("ONE"), nullptr);
}

TEST_F(SourceStoreTest, SaysWhenAChangeCouldNotBeWritten) {
    SourceStore store;
    ASSERT_TRUE(Opens(store));
    std::filesystem::remove_all(directory.Path());
    EXPECT_FALSE(store.Put(Direct("ONE", "10.0.0.1")));
    EXPECT_EQ(store.TakeNotices().size(), 1U);
    std::filesystem::create_directory(directory.Path());
    EXPECT_TRUE(store.Put(Direct("TWO", "10.0.0.2"))) << "the next change tries again";
    SourceStore again;
    ASSERT_TRUE(Opens(again));
    EXPECT_EQ(again.Sources().size(), 2U);
}

TEST_F(SourceStoreTest, LeavesNoTemporaryFiles) {
    SourceStore store;
    ASSERT_TRUE(Opens(store));
    for (int round = 0; round < 3; ++round)
        store.Put(Direct("ONE", "10.0.0.1"));
    EXPECT_EQ(FilesInDirectory(), 1U);
}

}  // namespace
}  // namespace host_runtime
