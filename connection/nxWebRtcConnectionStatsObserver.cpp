#include "connection/nxWebRtcConnectionStatsObserver.h"

#include <utility>

namespace {

constexpr std::uint32_t kHighestStateCode = 4;

std::uint32_t KnownStateCode(std::uint32_t code) {
    return code <= kHighestStateCode ? code : 0;
}

}  // namespace

nxWebRtcConnection::StatsObserver::StatsObserver(std::function<void(const nxWebRtcStats&)> receiver)
    : vo_webrtc::voPeerConnectionInterface::StatsObserver(&voCallback::Delete),
      callback(std::move(receiver)) {}

void nxWebRtcConnection::StatsObserver::OnStatsDelivered(const vo_webrtc::voStats& stats) {
    nxWebRtcStats delivered;
    delivered.stateCode1 = KnownStateCode(stats.stateCode1);
    delivered.stateCode2 = KnownStateCode(stats.stateCode2);
    delivered.timestampUs = stats.timestampUs;
    delivered.counter1 = stats.counter1;
    delivered.bytesReceived = stats.bytesReceived;
    delivered.counter3 = stats.counter3;
    delivered.counter4 = stats.counter4;
    callback(delivered);
}
