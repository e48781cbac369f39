// Turns the library's statistics record into the plug-in's and hands it to a callback.
#pragma once

#include <functional>

#include "connection/nxWebRtcConnection.h"
#include "webrtc/voPeerConnectionInterface.h"

class nxWebRtcConnection::StatsObserver : public vo_webrtc::voPeerConnectionInterface::StatsObserver {
public:
    explicit StatsObserver(std::function<void(const nxWebRtcStats&)> receiver);
    // [library-thread]
    void OnStatsDelivered(const vo_webrtc::voStats& stats) override;

private:
    const std::function<void(const nxWebRtcStats&)> callback;
};
