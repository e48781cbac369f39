#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "host_runtime/ui/Purse.h"
#include "host_runtime/ui/XmlRecord.h"

namespace host_runtime {
namespace {

class Resources : public testing::Test {
protected:
    void SetUp() override {
        std::string name = testing::TempDir() + "resourcesXXXXXX";
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        top = name;
        std::filesystem::create_directories(top / "root/Sources/Kestrel");
    }
    void TearDown() override { std::filesystem::remove_all(top); }

    void Write(const std::filesystem::path& file, const std::string& content) {
        std::ofstream(top / file, std::ios::binary) << content;
    }
    zStatus Read(const char* fileName, const char* folder) {
        Purse purse(top / "root");
        return purse.Resources()->ReadPluginXMLFile(record, fileName, folder, "net.example.plugin");
    }

    std::filesystem::path top;
    zRecord record;
};

TEST_F(Resources, BackslashSeparatesFolders) {
    Write("root/Sources/Kestrel/panel.xml", R"(<view var="a &amp; b"/>)");
    ASSERT_EQ(Read("panel.xml", "Sources\\Kestrel"), kStatusOk);
    ASSERT_EQ(record.ChildCount(), 1U);
    EXPECT_EQ(record.Child(0)->ElementName(), "view");
    EXPECT_STREQ(record.Child(0)->AsCString("var", ""), "a & b");
}

TEST_F(Resources, NamesThatLeadOutAreRefused) {
    Write("secret.xml", "<view/>");
    Write("root/Sources/Kestrel/panel.xml", "<view/>");
    EXPECT_NE(Read("../../../secret.xml", "Sources\\Kestrel"), kStatusOk);
    EXPECT_NE(Read("secret.xml", "Sources\\..\\.."), kStatusOk);
    EXPECT_NE(Read("secret.xml", ".."), kStatusOk);
    EXPECT_NE(Read("secret.xml", "Sources/../.."), kStatusOk);
    EXPECT_NE(Read("secret.xml", top.c_str()), kStatusOk);
    EXPECT_NE(Read("..", "Sources\\Kestrel"), kStatusOk);
    EXPECT_NE(Read("panel.xml", "Sources\\\\Kestrel"), kStatusOk);
    EXPECT_NE(Read("panel.xml", ""), kStatusOk);
    EXPECT_NE(Read("", "Sources\\Kestrel"), kStatusOk);
    EXPECT_NE(Read(nullptr, "Sources\\Kestrel"), kStatusOk);
    EXPECT_NE(Read("panel.xml", nullptr), kStatusOk);
    EXPECT_FALSE(record.HasChildren());
}

TEST_F(Resources, MissingFilesAndFoldersFail) {
    EXPECT_NE(Read("panel.xml", "Sources\\Kestrel"), kStatusOk);
    EXPECT_NE(Read("panel.xml", "Sources\\Other"), kStatusOk);
    std::filesystem::create_directory(top / "root/Sources/Kestrel/folder.xml");
    EXPECT_NE(Read("folder.xml", "Sources\\Kestrel"), kStatusOk);
}

TEST_F(Resources, HugeFilesAreRefused) {
    Write("root/Sources/Kestrel/panel.xml", "<view/>" + std::string(PluginResources::kLargestFile, ' '));
    EXPECT_NE(Read("panel.xml", "Sources\\Kestrel"), kStatusOk);
}

TEST(XmlRecord, ReadsNestedElementsAndLeavesTheRestOut) {
    zRecord record;
    ASSERT_EQ(ReadXmlRecord("<?xml version=\"1.0\"?><!-- c --><a><b x=\"1\">text</b><c><d/></c></a>", record),
              kStatusOk);
    const zRecord& root = *record.Child(0);
    EXPECT_EQ(root.ElementName(), "a");
    ASSERT_EQ(root.ChildCount(), 2U);
    EXPECT_STREQ(root.Child(0)->AsCString("x", ""), "1");
    EXPECT_EQ(root.Child(1)->Child(0)->ElementName(), "d");
}

TEST(XmlRecord, KeepsTheRecordWhenTheTextIsNoDocument) {
    zRecord record;
    record.AddChild().SetElementName("before");
    std::string deep;
    for (int level = 0; level < 100; ++level)
        deep += "<a>";
    for (int level = 0; level < 100; ++level)
        deep += "</a>";
    for (const std::string& text :
         {std::string(), std::string("plain"), std::string("<a>"), std::string("<a></b>"),
          std::string("<a b=c/>"), std::string("<!-- only -->"), std::string("\0<a/>", 5), std::string("<"),
          deep}) {
        EXPECT_NE(ReadXmlRecord(text, record), kStatusOk) << text;
        EXPECT_EQ(record.Child(0)->ElementName(), "before");
    }
}

TEST(XmlRecord, ReplacesEarlierChildren) {
    zRecord record;
    record.AddChild().SetElementName("before");
    ASSERT_EQ(ReadXmlRecord("<after/>", record), kStatusOk);
    EXPECT_EQ(record.ChildCount(), 1U);
    EXPECT_EQ(record.Child(0)->ElementName(), "after");
}

}  // namespace
}  // namespace host_runtime
