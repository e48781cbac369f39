// An HTTPS server on a free port of the loopback, with a certificate made on the spot.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/annotated_mutex.h"
#include "tests/fakes/WrittenLines.h"
#include "tests/unit/web_server/TlsClient.h"
#include "web_server/HttpsServer.h"

namespace tests {

web_server::ServerCertificate MakeCertificate(const std::string& name);

// The lines: "request METHOD PATH?QUERY BODY", "refused ADDRESS REASON", "end".
class HttpsFixture : public testing::Test, protected WrittenLines {
protected:
    ~HttpsFixture() override;

    void Listen(const web_server::HttpsServerOptions& options = {});
    std::unique_ptr<TlsClient> Dial(const std::string& from = {}) {
        return TlsClient::Connect(server->Port(), Speaks::Tls, from);
    }
    std::unique_ptr<TlsClient> DialPlain() { return TlsClient::Connect(server->Port(), Speaks::NothingYet); }

    // By default every request is answered with 200 and "done". Runs on the server's thread.
    std::function<void(const std::shared_ptr<web_server::HttpExchange>&)> onRequest;
    web_server::HttpsHandlers handlers;
    std::unique_ptr<web_server::HttpsServer> server;

    // Streams that were begun by BeginStream.
    void BeginStream(const std::shared_ptr<web_server::HttpExchange>& exchange);
    std::shared_ptr<web_server::EventStream> WaitForStream();

private:
    support::Mutex mutex;
    support::Condition changed;
    std::shared_ptr<web_server::EventStream> begunStream GUARDED_BY(mutex);
};

}  // namespace tests
