#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/contract/webrtc/Call.h"
#include "webrtc/voDebug.h"

namespace contract {
namespace {

class LogSink : public voDebug::Logging {
public:
    LogSink(Record& target, bool throwing) : Logging(Delete), record(target), throws(throwing) {}
    ~LogSink() override { record.Add("gone"); }
    void OnLogLine(const char* line) override {
        record.Add("line", line);
        if (throws) throw std::runtime_error("a fault of the log sink");
    }

private:
    Record& record;
    const bool throws;
};

// Something that the library has to say.
void CauseFailure() {
    Call call;
    call.connection->SetRemoteDescription("nonsense", "answer");
    EXPECT_TRUE(call.record.WaitFor("failure"));
}

TEST(Logging, LinesReachTheSinkUntilItIsTakenAway) {
    Record record;
    voDebug::SetLogging(new LogSink(record, false), voDebug::LogLevel::Info);
    CauseFailure();
    EXPECT_TRUE(record.WaitFor("line"));
    voDebug::SetLogging(nullptr, voDebug::LogLevel::None);
    EXPECT_TRUE(record.WaitFor("gone"));
    const std::size_t before = record.Count("line");
    CauseFailure();
    EXPECT_EQ(record.Count("line"), before);
}

TEST(Logging, LevelNoneIsSilent) {
    Record record;
    voDebug::SetLogging(new LogSink(record, false), voDebug::LogLevel::None);
    CauseFailure();
    voDebug::SetLogging(nullptr, voDebug::LogLevel::Info);
    EXPECT_TRUE(record.WaitFor("gone"));
    EXPECT_EQ(record.Count("line"), 0U);
}

TEST(Logging, ExceptionOfTheSinkStopsThere) {
    Record record;
    voDebug::SetLogging(new LogSink(record, true), voDebug::LogLevel::Verbose);
    {
        Call call;
        call.connection->CreateOffer();
        EXPECT_TRUE(call.record.WaitFor("offer"));
    }
    voDebug::SetLogging(nullptr, voDebug::LogLevel::None);
    EXPECT_TRUE(record.WaitFor("gone"));
    EXPECT_GT(record.Count("line"), 0U);
}

}  // namespace
}  // namespace contract
