// What the contract's tests of the socket share: a server that plays a script, in the clear or with TLS,
// and a socket whose reports are written down.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "host/network/cWebSocket.h"
#include "host_runtime/network/NetworkSettings.h"
#include "tests/contract/web_socket/Box.h"
#include "tests/contract/web_socket/Certificates.h"
#include "tests/contract/web_socket/RawServer.h"
#include "tests/contract/web_socket/SocketLog.h"

namespace tests {

inline constexpr double kLongEnough = 8.0;

enum class Scheme { Plain, Tls };

inline std::string SchemeName(const testing::TestParamInfo<Scheme>& info) {
    return info.param == Scheme::Tls ? "Tls" : "Plain";
}

class WebSocketFixture : public testing::Test {
protected:
    explicit WebSocketFixture(Scheme toUse);
    ~WebSocketFixture() override;

    RawServer& Serve(RawServer::Script script);
    std::string Url(const std::string& target = "/") const;
    void Open(double timeoutSeconds = kLongEnough) { socket->open(Url().c_str(), timeoutSeconds); }
    void UseSettings(const host_runtime::NetworkSettings& settings);
    host_runtime::NetworkSettings settings;

    // Keeps the network thread from doing anything until the result is opened.
    static Gate HoldUpNetworkThread();

    // Waits for so many reports and returns all that came until the network thread had nothing left.
    std::vector<std::string> Reports(std::size_t count) const;

    const Scheme scheme;
    TlsContext tlsContext;
    std::unique_ptr<RawServer> server;
    std::shared_ptr<cWebSocket> socket = cWebSocket::Factory();
    std::shared_ptr<SocketLog> log = SocketLog::Of(*socket);
};

// Over ws and over wss alike.
class WebSocketContract : public WebSocketFixture, public testing::WithParamInterface<Scheme> {
protected:
    WebSocketContract() : WebSocketFixture(GetParam()) {}
};

}  // namespace tests
