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

std::string PhonePage::HeardBefore(const std::string& event) {
    return stream ? stream->ReadUntil("event: " + event + "\n") : std::string();
}

json PhonePage::Data() {
    stream->ReadUntil("data: ");
    return json::parse(stream->ReadUntil("\n"), nullptr, false);
}

void PhonePage::Post(const std::string& path, const json& body) const {
    const auto client = TlsClient::Connect(port);
    ASSERT_NE(client, nullptr);
    const std::string answer =
        tests::Ask(*client, "POST", path,
                   "Origin: https://127.0.0.1\r\nContent-Type: application/json\r\n" + cookie, body.dump());
    EXPECT_EQ(tests::StatusOf(answer), 200) << answer;
}

bool PhonePage::Hears(const std::string& event) {
    const std::string line = "event: " + event + "\n";
    return HeardBefore(event).ends_with(line);
}

}  // namespace e2e
