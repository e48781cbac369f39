// A hub with a virtual clock, requests without sockets, and hosts without WebSockets.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "apps/petrel/serve/Hub.h"
#include "tests/unit/petrel_serve/TemporaryFolder.h"

namespace tests {

struct Event {
    std::string name;
    nlohmann::json data;
    std::string id;
};

class FakeStream final : public web_server::EventStream {
public:
    void Send(std::string text) override {
        if (!ended) sent += text;
    }
    void End() override { ended = true; }

    std::vector<Event> Events() const;       // all so far
    std::vector<std::string> Names() const;  // of all events so far
    std::optional<Event> Last(const std::string& name) const;

    std::string sent;
    bool ended = false;
    std::function<void()> onEnd;
};

class FakeExchange final : public web_server::HttpExchange {
public:
    const web_server::HttpRequest& Request() const override { return request; }
    void Answer(web_server::HttpAnswer toGive) override { answer = std::move(toGive); }
    std::shared_ptr<web_server::EventStream> AnswerWithEvents(std::function<void()> onEnd) override {
        stream = std::make_shared<FakeStream>();
        stream->onEnd = std::move(onEnd);
        return stream;
    }

    int Status() const { return answer ? answer->status : 0; }
    nlohmann::json Json() const { return nlohmann::json::parse(answer ? answer->body : "", nullptr, false); }
    std::string Error() const { return Json().value("error", std::string()); }
    std::string Field(const std::string& name) const;

    web_server::HttpRequest request;
    std::optional<web_server::HttpAnswer> answer;
    std::shared_ptr<FakeStream> stream;
};

// One plug-in's socket.
class FakeHost final : public web_server::WebSocketConnection {
public:
    void Send(std::string text) override { received.push_back(nlohmann::json::parse(text)); }
    void Close() override { closed = true; }
    std::string RemoteAddress() const override { return remoteAddress; }

    std::vector<std::string> Actions() const;

    std::vector<nlohmann::json> received;
    std::string remoteAddress = "127.0.0.1:40000";
    bool closed = false;
};

class HubFixture : public testing::Test {
protected:
    HubFixture();
    ~HubFixture() override;

    void MakeHub(std::vector<std::string> phoneAddresses = {});

    // Requests from our own page on 192.0.2.50, with the cookie if there is one.
    std::shared_ptr<FakeExchange> Get(const std::string& target, const std::string& cookie = {});
    std::shared_ptr<FakeExchange> Post(const std::string& path, const nlohmann::json& body,
                                       const std::string& cookie = {});
    std::shared_ptr<FakeExchange> PostText(const std::string& path, const std::string& body,
                                           const std::string& cookie = {});
    std::shared_ptr<FakeExchange> Do(const std::string& method, const std::string& target,
                                     web_server::HttpFields fields, const std::string& body = {});

    // Pairs a phone; its cookie.
    std::string Pair(const std::string& name);
    std::shared_ptr<FakeStream> OpenPage(const std::string& cookie, const std::string& tab = "tab-1",
                                         const std::string& more = {});
    static void LosePage(const std::shared_ptr<FakeStream>& stream) { stream->onEnd(); }

    // A plug-in at the phone of this address; joined unless told otherwise.
    std::shared_ptr<FakeHost> Dial(const std::string& address, const std::string& session = "GUID");
    void Say(const std::string& address, const std::shared_ptr<FakeHost>& host,
             const nlohmann::json& message);
    void Offer(const std::string& address, const std::shared_ptr<FakeHost>& host, const std::string& sdp);
    void Leave(const std::string& address, const std::shared_ptr<FakeHost>& host);

    void Advance(std::chrono::milliseconds by);
    bool IsListening(const std::string& address) const { return listening.contains(address); }

    TemporaryFolder temporary;
    std::chrono::steady_clock::time_point now{std::chrono::seconds(100'000)};
    std::int64_t calendar = 1'800'000'000;
    std::map<std::string, web_server::WebSocketHandlers> listening;  // by address
    std::string refusedAddress;                                      // cannot be listened on
    std::vector<std::string> announcements;                          // "+name address" and "-address"
    std::function<void()> whileAnnouncing;
    int newCodes = 0;
    std::vector<std::string> refusals;
    std::string remoteAddress = "192.0.2.50";
    bool fromThisMachine = false;
    std::unique_ptr<petrel::Hub> hub;
};

}  // namespace tests
