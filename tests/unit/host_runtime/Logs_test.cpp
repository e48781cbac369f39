#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/core/zTraceManager.h"
#include "host/core/zUserLogHistory.h"
#include "host_runtime/core/TraceOutput.h"
#include "host_runtime/core/UserLog.h"
#include "tests/fakes/VirtualTime.h"

namespace {

using host_runtime::UserLogEntries;
using host_runtime::UserLogEntry;

class Trace : public testing::Test {
protected:
    void SetUp() override {
        host_runtime::SetTraceSink(
            [this](zFourCC kind, const std::string& text) { lines.emplace_back(kind, text); });
    }
    void TearDown() override { host_runtime::SetTraceSink({}); }

    std::vector<std::pair<zFourCC, std::string>> lines;
};

TEST_F(Trace, FormatsUnderItsKind) {
    zTraceManager::Default()->TraceMessage(FourCC("note"), "webrtc: %s %d\n", "100% {} %n", 5);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].first, FourCC("note"));
    EXPECT_EQ(lines[0].second, "webrtc: 100% {} %n 5\n");
}

TEST_F(Trace, LongTextsComeWhole) {
    for (const std::size_t length : {510U, 511U, 512U, 513U, 100'000U}) {
        const std::string text(length, 'x');
        lines.clear();
        zTraceManager::Default()->TraceMessage(FourCC("note"), "%s|", text.c_str());
        ASSERT_EQ(lines.size(), 1U);
        EXPECT_EQ(lines[0].second, text + "|");
    }
}

TEST_F(Trace, NullFormatIsHarmless) {
    const char* format = nullptr;
    zTraceManager::Default()->TraceMessage(FourCC("note"), format, 0);
    EXPECT_TRUE(lines.empty());
}

TEST_F(Trace, SinkIsCalledByOneThreadAtATime) {
    std::vector<std::thread> threads;  // the sink's vector is not synchronised
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([number] {
            for (int line = 0; line < 200; ++line)
                zTraceManager::Default()->TraceMessage(FourCC("note"), "%d\n", number);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(lines.size(), 800U);
}

TEST(TraceToStandardError, IsPrintableAndEndsItsLine) {
    testing::internal::CaptureStderr();
    zTraceManager::Default()->TraceMessage(FourCC("note"), "evil \x1B]0;title\x07 %s", "end");
    zTraceManager::Default()->TraceMessage(FourCC("note"), "two\nlines\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "evil  ]0;title  end\ntwo\nlines\n");
}

TEST(TraceToStandardError, TakesOverFromASinkThatTracesOrThrows) {
    testing::internal::CaptureStderr();
    host_runtime::SetTraceSink([](zFourCC, const std::string& text) {
        zTraceManager::Default()->TraceMessage(FourCC("note"), "inner");
        throw text;
    });
    zTraceManager::Default()->TraceMessage(FourCC("note"), "outer");
    host_runtime::SetTraceSink({});
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "inner\nouter\n");
}

class UserLog : public testing::Test {
protected:
    void SetUp() override { host_runtime::ClearUserLog(); }
    void TearDown() override {
        host_runtime::SetUserLogListener({});
        host_runtime::ClearUserLog();
    }
    static void Add(int level, const char* text) {
        zUserLogHistory::Default()->Add(level, zUserLogHistory::Convert(text));
    }

    fakes::VirtualTime time;
};

TEST_F(UserLog, KeepsEntriesOldestFirst) {
    Add(zUserLogHistory::kLevelTrouble, "lost");
    Add(zUserLogHistory::kLevelSuccess, "back");
    const auto entries = UserLogEntries();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].level, 1);
    EXPECT_EQ(entries[0].text, "lost");
    EXPECT_EQ(entries[1].level, 0);
    EXPECT_EQ(entries[1].text, "back");
}

TEST_F(UserLog, EqualConsecutiveEntriesAreMerged) {
    Add(1, "lost");
    time.AdvanceBy(6'000'000);
    Add(1, "lost");
    Add(0, "lost");
    Add(1, "lost");
    const auto entries = UserLogEntries();
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries[0].count, 2U);
    EXPECT_EQ(entries[0].lastTimeUs, fakes::VirtualTime::kStartUs + 6'000'000);
    EXPECT_EQ(entries[1].count, 1U);
}

TEST_F(UserLog, IsBounded) {
    for (int number = 0; number < 2000; ++number)
        Add(1, std::to_string(number).c_str());
    const auto entries = UserLogEntries();
    EXPECT_EQ(entries.size(), 500U);
    EXPECT_EQ(entries.back().text, "1999");
    EXPECT_EQ(entries.front().text, "1500");
}

TEST_F(UserLog, ListenerHearsEveryEntryAlsoMergedOnes) {
    std::vector<std::uint64_t> counts;
    host_runtime::SetUserLogListener([&counts](const UserLogEntry& entry) {
        counts.push_back(entry.count);
        EXPECT_EQ(UserLogEntries().size(), 1U);  // it may ask the log
    });
    Add(1, "lost");
    Add(1, "lost");
    EXPECT_EQ(counts, (std::vector<std::uint64_t>{1, 1}));
}

TEST_F(UserLog, ConvertMakesOneLineOfValidText) {
    EXPECT_STREQ(zUserLogHistory::Convert("a\nb\xFF\x1B[0m \n").Text(), "a b\xEF\xBF\xBD [0m");
    EXPECT_STREQ(zUserLogHistory::Convert("").Text(), "");
    EXPECT_STREQ(zUserLogHistory::Convert(nullptr).Text(), "");
    EXPECT_STREQ(zUserLogHistory::Convert("100% {}").Text(), "100% {}");
}

TEST_F(UserLog, ConvertCutsOverlongTextBetweenCharacters) {
    std::string euros;
    for (int count = 0; count < 10'000; ++count)
        euros += "\xE2\x82\xAC";
    const std::string stored = zUserLogHistory::Convert(euros.c_str()).ToStdString();
    EXPECT_LT(stored.size(), 2'100U);
    EXPECT_EQ(stored.substr(0, 3), "\xE2\x82\xAC");
    EXPECT_EQ(stored.substr(stored.size() - 3), "\xEF\xBF\xBD");
}

}  // namespace
