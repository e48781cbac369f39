#include <functional>
#include <vector>

#include "connection/nxWebRtcConnectionStatsObserver.h"
#include "tests/unit/connection/ConnectionTest.h"

namespace {

using testing::ElementsAre;

// Both state codes, the timestamp and the counters, in their order.
std::vector<std::int64_t> Values(const nxWebRtcStats& stats) {
    return {stats.stateCode1,    stats.stateCode2, stats.timestampUs, stats.counter1,
            stats.bytesReceived, stats.counter3,   stats.counter4};
}

class ConnectionStats : public tests::ConnectionTest {
protected:
    std::function<void(const nxWebRtcStats&)> Receive() {
        return [this](const nxWebRtcStats& stats) { received.push_back(stats); };
    }
    std::vector<nxWebRtcStats> received;
};

TEST_F(ConnectionStats, NeverStartedConnectionAnswersAtOnceWithZeros) {
    Make()->GetStats(Receive());
    ASSERT_EQ(received.size(), 1U);
    EXPECT_THAT(Values(received[0]), ElementsAre(0, 0, 0, 0, 0, 0, 0));
}

TEST_F(ConnectionStats, StartedConnectionAnswersWhenTheLibraryDoes) {
    const auto connection = MakeStarted();
    connection->GetStats(Receive());
    EXPECT_TRUE(received.empty());
    EXPECT_TRUE(Peer()->DeliverStats({1, 4, 11, 12, 13, 14, 15}));
    ASSERT_EQ(received.size(), 1U);
    EXPECT_THAT(Values(received[0]), ElementsAre(1, 4, 11, 12, 13, 14, 15));
}

TEST_F(ConnectionStats, UnknownStateCodesBecomeZeroAndCountersStay) {
    const auto connection = MakeStarted();
    connection->GetStats(Receive());
    Peer()->DeliverStats({5, 7, -1, INT64_MIN, INT64_MAX, 0, -5});
    ASSERT_EQ(received.size(), 1U);
    EXPECT_THAT(Values(received[0]), ElementsAre(0, 0, -1, INT64_MIN, INT64_MAX, 0, -5));
}

TEST_F(ConnectionStats, EachRequestHasItsOwnCallback) {
    const auto connection = MakeStarted();
    int first = 0;
    int second = 0;
    connection->GetStats([&first](const nxWebRtcStats&) { ++first; });
    connection->GetStats([&second](const nxWebRtcStats&) { ++second; });
    Peer()->DeliverStats({});
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 0);
    Peer()->DeliverStats({});
    EXPECT_EQ(second, 1);
}

TEST_F(ConnectionStats, OpenRequestIsAnsweredWithZerosWhenTheConnectionGoes) {
    auto connection = MakeStarted();
    connection->GetStats(Receive());
    connection.reset();
    ASSERT_EQ(received.size(), 1U);
    EXPECT_EQ(received[0].timestampUs, 0);
}

TEST_F(ConnectionStats, EmptyCallbackRaises) {
    EXPECT_THROW(Make()->GetStats({}), std::bad_function_call);
    const vo_webrtc::voPointer<nxWebRtcConnection::StatsObserver> observer(
        new nxWebRtcConnection::StatsObserver({}));
    EXPECT_THROW(observer->OnStatsDelivered({}), std::bad_function_call);
}

TEST_F(ConnectionStats, RequestOfAnEarlierPeerConnectionIsAnsweredOnceToo) {
    const auto connection = MakeStarted();
    connection->GetStats(Receive());
    connection->Start(nullptr, 0);
    EXPECT_EQ(received.size(), 1U);
    EXPECT_FALSE(Peer()->DeliverStats({}));
}

}  // namespace
