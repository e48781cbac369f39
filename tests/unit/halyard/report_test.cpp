#include "apps/halyard/Report.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace halyard {
namespace {

using nlohmann::json;

std::vector<std::string> Keys(const json& object) {
    std::vector<std::string> keys;
    for (const auto& [key, value] : object.items())
        keys.push_back(key);
    return keys;
}

ReportedSource Undelivered() {
    ReportedSource source;
    source.identifier = "ID";
    source.name = "Camera";
    source.address = "10.0.0.1";
    return source;
}

ReportedSource Delivered() {
    ReportedSource source = Undelivered();
    source.activatedAtUs = 2'000'000;
    source.status = "Connected";
    source.megabitsPerSecond = 2.25;
    source.counts.width = 1280;
    source.counts.height = 720;
    source.counts.picturesPulled = 300;
    source.counts.distinctPictures = 298;
    source.counts.soundBlocksPulled = 301;
    source.counts.silentSoundBlocks = 9;
    source.counts.firstPictureAtUs = 2'412'345;
    return source;
}

TEST(Report, IsOneObjectWithTheStatedKeys) {
    const json report = json::parse(ReportText(10.00049, {Delivered()}));
    EXPECT_EQ(Keys(report), (std::vector<std::string>{"durationSeconds", "sources"}));
    EXPECT_EQ(report["durationSeconds"], 10.0);
    ASSERT_EQ(report["sources"].size(), 1U);
    const json expected = json::parse(R"({"identifier": "ID", "name": "Camera", "address": "10.0.0.1",
        "connected": true, "width": 1280, "height": 720, "picturesPulled": 300, "distinctPictures": 298,
        "soundBlocksPulled": 301, "silentSoundBlocks": 9, "firstPictureMs": 412.3,
        "status": "Connected", "megabitsPerSecond": 2.3})");
    EXPECT_EQ(report["sources"][0], expected);
}

TEST(Report, HasTheProbesMeasuresOnlyWithTheProbe) {
    ReportedSource source = Delivered();
    source.counts.probe =
        SourceMonitor::ProbeResult{4.04, 9.5, 12.0, 31.0, Probe::SoundOffset{101.26, 102.04, 7.77}, 3, 4};
    const json entry = json::parse(ReportText(1, {source}))["sources"][0];
    EXPECT_EQ(entry["latencyMs"], json::parse(R"({"p50": 4.0, "p95": 9.5, "p99": 12.0, "max": 31.0})"));
    EXPECT_EQ(entry["skippedPictures"], 3);
    EXPECT_EQ(entry["repeatedPictures"], 4);
    EXPECT_EQ(entry["soundOffsetMs"], 101.3);
    EXPECT_EQ(entry["soundOffsetMeanMs"], 102.0);
    EXPECT_EQ(entry["soundOffsetDeviationMs"], 7.8);
}

TEST(Report, SaysNullForWhatWasNeverMeasured) {
    ReportedSource source = Undelivered();
    source.counts.probe = SourceMonitor::ProbeResult{};
    const json entry = json::parse(ReportText(1, {source}))["sources"][0];
    EXPECT_EQ(entry["connected"], false);
    EXPECT_TRUE(entry["firstPictureMs"].is_null());
    EXPECT_TRUE(entry["latencyMs"]["p50"].is_null());
    EXPECT_TRUE(entry["soundOffsetMs"].is_null());
    EXPECT_TRUE(entry["soundOffsetMeanMs"].is_null());
    EXPECT_TRUE(entry["soundOffsetDeviationMs"].is_null());
    EXPECT_TRUE(entry["status"].is_null()) << "there is no panel";
    EXPECT_TRUE(entry["megabitsPerSecond"].is_null());
}

TEST(Report, SaysNullForADataRateThatThePanelDoesNotShow) {
    ReportedSource source = Undelivered();
    source.status = "Not connected";
    const json entry = json::parse(ReportText(1, {source}))["sources"][0];
    EXPECT_EQ(entry["status"], "Not connected");
    EXPECT_TRUE(entry["megabitsPerSecond"].is_null());
}

TEST(Report, SurvivesNamesThatAreNoText) {
    ReportedSource source = Delivered();
    source.name = "\xFF\"\n";
    const json report = json::parse(ReportText(1, {source}));
    EXPECT_EQ(report["sources"][0]["name"], "\xEF\xBF\xBD\"\n");
}

TEST(Report, EndsWithALineFeed) {
    EXPECT_EQ(ReportText(0, {}).back(), '\n');
}

}  // namespace
}  // namespace halyard
