#include "tests/e2e/phones/PhonePage.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace e2e {

using nlohmann::json;
using tests::TlsClient;

PhonePage::PhonePage(std::uint16_t serverPort, const std::string& name) : port(serverPort) {
    const auto operatorPage = TlsClient::Connect(port);
    const auto client = TlsClient::Connect(port);
    if (!operatorPage || !client) {
        ADD_FAILURE() << "There is no server.";
        return;
    }
    const json shown =
        json::parse(tests::BodyOf(tests::Ask(*operatorPage, "GET", "/api/operator")), nullptr, false);
    const json body = {{"code", shown["code"]}, {"name", name}};
    const std::string answer =
        tests::Ask(*client, "POST", "/api/pair",
                   "Origin: https://127.0.0.1\r\nContent-Type: application/json\r\n", body.dump());
    EXPECT_EQ(tests::StatusOf(answer), 200) << answer;
    const std::string set = tests::FieldOf(answer, "Set-Cookie");
    cookie = "Cookie: " + set.substr(0, set.find(';')) + "\r\n";
}

void PhonePage::Open() {
    stream = TlsClient::Connect(port);
    ASSERT_NE(stream, nullptr);
    stream->Send("GET /api/events?tab=t HTTP/1.1\r\nHost: 127.0.0.1\r\n" + cookie + "\r\n");
    EXPECT_TRUE(Hears("hello"));
}

bool PhonePage::Hears(const std::string& event) {
    const std::string line = "event: " + event + "\n";
    return stream && stream->ReadUntil(line).ends_with(line);
}

}  // namespace e2e
