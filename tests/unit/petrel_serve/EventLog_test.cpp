#include "apps/petrel/serve/EventLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace petrel {
namespace {

using testing::ElementsAre;
using testing::Optional;

TEST(EventText, IsFramedAsTheStandardSays) {
    EXPECT_EQ(EventText("offer", "{\"a\":1}", 7), "id: 7\nevent: offer\ndata: {\"a\":1}\n\n");
    EXPECT_EQ(EventText("hello", "{}"), "event: hello\ndata: {}\n\n");
}

class EventLogTest : public testing::Test {
protected:
    static std::string Numbered(std::uint64_t number) { return EventText("e", "{}", number); }
    EventLog log;
};

TEST_F(EventLogTest, GivesWhatCameAfter) {
    EXPECT_EQ(log.Add("e", "{}", 1), Numbered(1));
    log.Add("e", "{}", 1);
    log.Add("e", "{}", 2);
    EXPECT_EQ(log.Last(), 3U);
    EXPECT_THAT(log.After(1), Optional(ElementsAre(Numbered(2), Numbered(3))));
    EXPECT_THAT(log.After(3), Optional(ElementsAre()));
    EXPECT_THAT(log.After(0), Optional(testing::SizeIs(3)));
}

TEST_F(EventLogTest, KnowsNothingOfNumbersThatWereNeverReached) {
    EXPECT_EQ(log.After(1), std::nullopt);
    log.Add("e", "{}", 1);
    EXPECT_EQ(log.After(2), std::nullopt);
    EXPECT_EQ(log.After(UINT64_MAX), std::nullopt);
}

TEST_F(EventLogTest, LeavesOutWhatIsForgottenOnPurpose) {
    log.Add("e", "{}", 1);
    log.Add("e", "{}", 2);
    log.Forget(1);
    EXPECT_THAT(log.After(0), Optional(ElementsAre(Numbered(2))));
}

TEST_F(EventLogTest, SaysWhenSomethingIsMissing) {
    const std::string large(EventLog::kMaximumBytes / 4, 'x');
    for (int i = 0; i < 10; ++i)
        log.Add("e", large, 1);
    EXPECT_EQ(log.After(0), std::nullopt);
    EXPECT_EQ(log.After(1), std::nullopt);
    EXPECT_THAT(log.After(9), Optional(testing::SizeIs(1)));
}

TEST_F(EventLogTest, BeginsAnewAfterClearing) {
    log.Add("e", "{}", 1);
    log.Clear();
    EXPECT_EQ(log.After(0), std::nullopt);
    EXPECT_THAT(log.After(1), Optional(ElementsAre()));
    EXPECT_EQ(log.Add("e", "{}", 1), Numbered(2));
}

}  // namespace
}  // namespace petrel
