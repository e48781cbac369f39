#include "connection/trace_note.h"

#include <fmt/format.h>

#include <stdexcept>

#include "host/core/zUserLogHistory.h"
#include "host_runtime/core/UserLog.h"
#include "tests/unit/connection/ConnectionTest.h"

namespace {

struct Thrower {
    enum class What { RuntimeError, LogicError, Number } what = What::RuntimeError;
};

}  // namespace

template <>
struct fmt::formatter<Thrower> {
    constexpr auto parse(fmt::format_parse_context& context) { return context.begin(); }
    auto format(const Thrower& thrower, fmt::format_context& context) const {
        switch (thrower.what) {
            case Thrower::What::RuntimeError:
                throw std::runtime_error("out of {} luck %s");
            case Thrower::What::LogicError:
                throw std::logic_error("never shown");
            case Thrower::What::Number:
                throw 5;
        }
        return context.out();
    }
};

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using What = Thrower::What;

TEST(TraceNote, FillsPlaceholdersAndWritesANote) {
    const tests::TraceCapture trace;
    TraceNote("a {} b {}\n", 1, "text");
    TraceNote("plain\n");
    TraceNote("{} {}\n", true, fmt::ptr(static_cast<const void*>(nullptr)));
    EXPECT_THAT(trace.Notes(), ElementsAre("a 1 b text\n", "plain\n", "true 0x0\n"));
}

TEST(TraceNote, ForeignTextIsNeverAFormat) {
    const tests::TraceCapture trace;
    TraceNote("{}\n", "100 % {} %s %n");
    EXPECT_THAT(trace.Notes(), ElementsAre("100 % {} %s %n\n"));
}

TEST(TraceNote, FormattingFailureIsTracedInstead) {
    const tests::TraceCapture trace;
    const std::string tooFew = "{} {}\n";
    TraceNote(tooFew, 1);
    TraceNote("{}\n", Thrower{What::RuntimeError});
    EXPECT_THAT(trace.Notes(), ElementsAre("zTrace 'argument not found'\n", "zTrace 'out of {} luck %s'\n"));
}

TEST(TraceNote, AnyOtherFailureIsAnUnknownAssertion) {
    const tests::TraceCapture trace;
    TraceNote("{}\n", Thrower{What::LogicError});
    TraceNote("{}\n", Thrower{What::Number});
    EXPECT_THAT(trace.Notes(), ElementsAre("zTrace Unknown Assertion\n", "zTrace Unknown Assertion\n"));
}

class UserLogLine : public testing::Test {
protected:
    UserLogLine() { host_runtime::ClearUserLog(); }
    ~UserLogLine() override { host_runtime::ClearUserLog(); }

    tests::TraceCapture trace;
};

TEST_F(UserLogLine, AddsAnEntryOfItsLevel) {
    UserLog(zUserLogHistory::kLevelTrouble, "lost {}", "phone");
    UserLog(zUserLogHistory::kLevelSuccess, "back");
    const auto entries = host_runtime::UserLogEntries();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].level, 1);
    EXPECT_EQ(entries[0].text, "lost phone");
    EXPECT_EQ(entries[1].level, 0);
    EXPECT_EQ(entries[1].text, "back");
    EXPECT_THAT(trace.Notes(), IsEmpty());
}

TEST_F(UserLogLine, TextIsConvertedFirst) {
    UserLog(zUserLogHistory::kLevelTrouble, "a{}b", "\x01");
    EXPECT_EQ(host_runtime::UserLogEntries().at(0).text, zUserLogHistory::Convert("a\x01"
                                                                                  "b")
                                                             .ToStdString());
}

TEST_F(UserLogLine, FailureIsTracedAndAddsNothing) {
    const std::string tooFew = "{}";
    UserLog(1, tooFew);
    UserLog(1, "{}", Thrower{What::RuntimeError});
    UserLog(1, "{}", Thrower{What::LogicError});
    UserLog(1, "{}", Thrower{What::Number});
    EXPECT_THAT(trace.Notes(),
                ElementsAre("zUserLog Assert 'argument not found'\n", "zUserLog Assert 'out of {} luck %s'\n",
                            "zUserLog Unknown Assertion\n", "zUserLog Unknown Assertion\n"));
    EXPECT_THAT(host_runtime::UserLogEntries(), IsEmpty());
}

}  // namespace
