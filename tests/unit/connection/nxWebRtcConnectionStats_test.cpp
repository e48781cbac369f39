#include <cstddef>
#include <functional>
#include <type_traits>

#include "connection/nxWebRtcConnectionStatsObserver.h"
#include "tests/unit/connection/ConnectionTest.h"

namespace {

using vo_webrtc::voStats;

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
    EXPECT_EQ(received[0].stateCode1, 0U);
    EXPECT_EQ(received[0].stateCode2, 0U);
    EXPECT_EQ(received[0].timestampUs, 0);
    EXPECT_EQ(received[0].counter1, 0);
    EXPECT_EQ(received[0].bytesReceived, 0);
    EXPECT_EQ(received[0].counter3, 0);
    EXPECT_EQ(received[0].counter4, 0);
}

TEST_F(ConnectionStats, StartedConnectionAnswersWhenTheLibraryDoes) {
    const auto connection = MakeStarted();
    connection->GetStats(Receive());
    EXPECT_TRUE(received.empty());
    EXPECT_TRUE(Peer()->DeliverStats({1, 4, 11, 12, 13, 14, 15}));
    ASSERT_EQ(received.size(), 1U);
    EXPECT_EQ(received[0].stateCode1, 1U);
    EXPECT_EQ(received[0].stateCode2, 4U);
    EXPECT_EQ(received[0].timestampUs, 11);
    EXPECT_EQ(received[0].counter1, 12);
    EXPECT_EQ(received[0].bytesReceived, 13);
    EXPECT_EQ(received[0].counter3, 14);
    EXPECT_EQ(received[0].counter4, 15);
}

TEST_F(ConnectionStats, UnknownStateCodesBecomeZeroAndCountersStay) {
    const auto connection = MakeStarted();
    connection->GetStats(Receive());
    Peer()->DeliverStats({5, 7, -1, INT64_MIN, INT64_MAX, 0, -5});
    ASSERT_EQ(received.size(), 1U);
    EXPECT_EQ(received[0].stateCode1, 0U);
    EXPECT_EQ(received[0].stateCode2, 0U);
    EXPECT_EQ(received[0].timestampUs, -1);
    EXPECT_EQ(received[0].counter1, INT64_MIN);
    EXPECT_EQ(received[0].bytesReceived, INT64_MAX);
    EXPECT_EQ(received[0].counter4, -5);
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

TEST_F(ConnectionStats, RecordHasItsFieldsInOrder) {
    EXPECT_TRUE(std::is_trivially_copyable_v<nxWebRtcStats>);
    EXPECT_EQ(offsetof(nxWebRtcStats, stateCode1), 0U);
    EXPECT_EQ(offsetof(nxWebRtcStats, stateCode2), 4U);
    EXPECT_EQ(offsetof(nxWebRtcStats, timestampUs), 8U);
    EXPECT_EQ(offsetof(nxWebRtcStats, counter1), 16U);
    EXPECT_EQ(offsetof(nxWebRtcStats, bytesReceived), 24U);
    EXPECT_EQ(offsetof(nxWebRtcStats, counter3), 32U);
    EXPECT_EQ(offsetof(nxWebRtcStats, counter4), 40U);
    EXPECT_EQ(sizeof(nxWebRtcStats), 48U);
}

}  // namespace
