// A phone whose encoder hangs while its connection stands: the host gets the picture back.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <string>
#include <vector>

#include "host_runtime/core/TraceOutput.h"
#include "support/annotated_mutex.h"
#include "tests/e2e/host/HostHarness.h"
#include "tests/e2e/host/SimulatedPhone.h"

namespace e2e {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

// The host trace while it lives.
class Trace {
public:
    Trace() {
        host_runtime::SetTraceSink([this](zFourCC, const std::string& text) {
            const support::MutexLock lock(mutex);
            lines.push_back(text);
        });
    }
    ~Trace() { host_runtime::SetTraceSink({}); }
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;

    std::size_t Count(const std::string& part) const {
        const support::MutexLock lock(mutex);
        std::size_t count = 0;
        for (const std::string& line : lines)
            count += line.find(part) != std::string::npos ? 1 : 0;
        return count;
    }

private:
    mutable support::Mutex mutex;
    std::vector<std::string> lines GUARDED_BY(mutex);
};

std::size_t Occurrences(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

class StoppedPicture : public testing::Test {
protected:
    void SetUp() override {
        pulled = harness.Add(phone.Address());
        ASSERT_TRUE(
            harness.RunUntil([this] { return Now().distinctFrames > 30 && Now().beeps > 0; }, seconds(40)))
            << phone.Process().Errors();
    }

    PulledPattern::Counts Now() const { return pulled.pattern->Now(); }

    // From the signal that lets the encoder hang to a picture that was taken long after it.
    std::optional<milliseconds> GapAfter(int signal, const std::string& note) {
        phone.Process().Signal(signal);
        EXPECT_TRUE(phone.Process().WaitForOutput(note, seconds(10)));
        const auto hungAt = steady_clock::now();
        // What was under way still arrives.
        const auto hungAtUs = static_cast<std::uint64_t>(
            std::chrono::duration_cast<std::chrono::microseconds>(hungAt.time_since_epoch()).count());
        const auto returned = [&] {
            const auto stamp = Now().lastStamp;
            return stamp && stamp->senderTimeUs > hungAtUs + 1'000'000;
        };
        if (!harness.RunUntil(returned, seconds(40))) return std::nullopt;
        return std::chrono::duration_cast<milliseconds>(steady_clock::now() - hungAt);
    }

    std::size_t Negotiations() { return Occurrences(phone.Process().Errors(), ": streaming"); }

    Trace trace;
    SimulatedPhone phone{"127.0.10.6", {"--size", "640x360"}};
    HostHarness harness;
    HostHarness::Pulled pulled;
};

TEST_F(StoppedPicture, ReturnsByAKeyFrame) {
    const auto gap = GapAfter(SIGUSR1, "until a key picture");
    ASSERT_TRUE(gap);
    RecordProperty("gapMs", std::to_string(gap->count()));
    EXPECT_GT(*gap, milliseconds(1400));
    EXPECT_LT(*gap, milliseconds(2500)) << "asked within 2 s, and then a few frames";
    EXPECT_EQ(Negotiations(), 1U);
    EXPECT_EQ(trace.Count("asking for a key frame"), 1U);
    EXPECT_EQ(trace.Count("asking for a new negotiation"), 0U);
}

TEST_F(StoppedPicture, ReturnsByANewNegotiation) {
    const std::size_t before = trace.Count("nxWebRtcConnection::OnRenegotiationNeeded - ");
    const auto gap = GapAfter(SIGUSR2, "until a new negotiation");
    ASSERT_TRUE(gap);
    RecordProperty("gapMs", std::to_string(gap->count()));
    EXPECT_GT(*gap, milliseconds(3400));
    EXPECT_LT(*gap, milliseconds(6000));
    EXPECT_EQ(Negotiations(), 2U);
    EXPECT_EQ(trace.Count("asking for a key frame"), 1U);
    EXPECT_EQ(trace.Count("asking for a new negotiation"), 1U);
    EXPECT_GT(trace.Count("nxWebRtcConnection::OnRenegotiationNeeded - "), before);
    const auto returned = Now();
    EXPECT_TRUE(harness.RunUntil(
        [&] {
            return Now().distinctFrames > returned.distinctFrames + 30 && Now().beeps > returned.beeps + 1;
        },
        seconds(20)))
        << "picture and sound go on";
}

}  // namespace
}  // namespace e2e
