#include "tests/unit/session/SessionTest.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "host_runtime/core/TraceOutput.h"
#include "host_runtime/core/UserLog.h"

namespace tests {

using fakes::FakeWebRtc;
using fakes::FakeWebSocket;

SessionTest::SessionTest() {
    FakeWebSocket::Forget();
    FakeWebRtc::Forget();
    host_runtime::ClearUserLog();
    host_runtime::SetTraceSink([this](zFourCC kind, const std::string& text) {
        EXPECT_EQ(kind, FourCC("note"));
        trace.push_back(text);
    });
    MakeSession(nxWebRtcSession::Mode::Direct);
}

SessionTest::~SessionTest() {
    session.reset();
    host_runtime::SetTraceSink({});
    FakeWebRtc::Forget();
    FakeWebSocket::Forget();
}

void SessionTest::MakeSession(nxWebRtcSession::Mode mode) {
    session = std::make_shared<nxWebRtcSession>(mode);
}

void SessionTest::Start(const char* address) {
    session->Start(R"({"sessionGuid":"guid","ownerKey":"key"})", address, 2.0);
}

void SessionTest::StartAndOpen() {
    Start();
    BecomeOpen();
}

void SessionTest::BecomeOpen() {
    Socket()->BecomeOpen();
    time.RunDue();
}

void SessionTest::Deliver(const std::string& text) {
    Socket()->Deliver(text);
    time.RunDue();
}

void SessionTest::Fail(cWebSocket::Error error) {
    Socket()->Fail(error);
    time.RunDue();
}

void SessionTest::Close() {
    Socket()->EndCleanly();
    time.RunDue();
}

void SessionTest::Join(const std::string& peer, const std::string& guid, const std::string& user) {
    Deliver(nlohmann::json{
        {"action", "peerJoined"}, {"peersIdentifier", peer}, {"sessionGuid", guid}, {"username", user}}
                .dump());
}

std::shared_ptr<nxWebRtcConnection> SessionTest::Joined(const std::string& peer) {
    Join(peer);
    return session->FindConnectionByPeer(peer);
}

std::vector<std::string> SessionTest::UserLogLines() {
    std::vector<std::string> lines;
    for (const host_runtime::UserLogEntry& entry : host_runtime::UserLogEntries()) {
        std::string line = std::to_string(entry.level) + " " + entry.text;
        if (entry.count > 1) line += " x" + std::to_string(entry.count);
        lines.push_back(std::move(line));
    }
    return lines;
}

int SessionTest::CountOfTrace(const std::string& text) const {
    return static_cast<int>(std::count(trace.begin(), trace.end(), text));
}

}  // namespace tests
