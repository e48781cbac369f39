// A session between a fake socket and a fake WebRTC wrapper, on the virtual clock.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "session/nxWebRtcSession.h"
#include "tests/fakes/FakeWebSocket.h"
#include "tests/fakes/VirtualTime.h"
#include "tests/fakes/webrtc/FakeWebRtc.h"

class nxWebRtcConnection;

namespace tests {

class SessionTest : public testing::Test {
protected:
    static constexpr const char* kUrl = "ws://127.0.0.2:9001/";
    static constexpr std::int64_t kSecondUs = 1'000'000;

    SessionTest();
    ~SessionTest() override;

    // A new session in place of the old one.
    void MakeSession(nxWebRtcSession::Mode mode);
    // With the session GUID "guid" and the owner key "key".
    void Start(const char* address = kUrl);
    void StartAndOpen();
    // As the network thread would report it, handled on the main thread at once.
    void BecomeOpen();
    void Deliver(const std::string& text);
    void Fail(cWebSocket::Error error = cWebSocket::Error::ConnectFailed);
    void Close();

    // A phone that announces itself, echoing the session GUID or another one.
    void Join(const std::string& peer, const std::string& guid = "guid", const std::string& user = "Phone");
    std::shared_ptr<nxWebRtcConnection> Joined(const std::string& peer);  // joins and finds

    static std::shared_ptr<fakes::FakeWebSocket> Socket() { return fakes::FakeWebSocket::Latest(); }
    // "level text" of each entry of the user log, with " xN" behind one that was merged.
    static std::vector<std::string> UserLogLines();
    int CountOfTrace(const std::string& text) const;

    fakes::VirtualTime time;
    std::vector<std::string> trace;
    std::shared_ptr<nxWebRtcSession> session;
};

}  // namespace tests
