#include "tests/unit/petrel_serve/HubFixture.h"

#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <sstream>
#include <utility>

namespace tests {
namespace {

using nlohmann::json;

constexpr const char* kHost = "192.0.2.1:9443";

class FakeServer final : public web_server::WebSocketServer {
public:
    explicit FakeServer(std::function<void()> toCall) : onStop(std::move(toCall)) {}
    ~FakeServer() override { Stop(); }
    std::uint16_t Port() const override { return 9001; }
    void Stop() override {
        if (onStop) std::exchange(onStop, nullptr)();
    }

private:
    std::function<void()> onStop;
};

}  // namespace

std::vector<Event> FakeStream::Events() const {
    std::vector<Event> events;
    Event event;
    std::istringstream in(sent);
    std::string line;
    while (std::getline(in, line)) {
        if (line.starts_with("event: ")) event.name = line.substr(7);
        if (line.starts_with("id: ")) event.id = line.substr(4);
        if (line.starts_with("data: ")) event.data = json::parse(line.substr(6));
        if (!line.empty() || event.name.empty()) continue;
        events.push_back(event);
        event = {};
    }
    return events;
}

std::vector<std::string> FakeStream::Names() const {
    std::vector<std::string> names;
    for (const Event& event : Events())
        names.push_back(event.name);
    return names;
}

std::optional<Event> FakeStream::Last(const std::string& name) const {
    std::optional<Event> last;
    for (const Event& event : Events())
        if (event.name == name) last = event;
    return last;
}

std::string FakeExchange::Field(const std::string& name) const {
    if (!answer) return {};
    for (const auto& [key, value] : answer->fields)
        if (key == name) return value;
    return {};
}

std::vector<std::string> FakeHost::Actions() const {
    std::vector<std::string> actions;
    for (const json& message : received)
        actions.push_back(message.value("action", ""));
    return actions;
}

HubFixture::HubFixture() {
    spdlog::set_default_logger(
        std::make_shared<spdlog::logger>("petrel", std::make_shared<spdlog::sinks::null_sink_mt>()));
    MakeHub();
}

HubFixture::~HubFixture() = default;

void HubFixture::MakeHub(std::vector<std::string> phoneAddresses) {
    hub.reset();
    petrel::HubSettings settings;
    settings.serverName = "studio";
    settings.operatorToken = "token-of-the-operator";
    settings.phoneAddresses = std::move(phoneAddresses);
    petrel::HubSurroundings surroundings;
    surroundings.live.now = [this] { return now; };
    surroundings.live.post = [](const std::function<void()>& job) { job(); };
    surroundings.live.listen = [this](const std::string& address, web_server::WebSocketHandlers handlers,
                                      std::string& error) -> std::unique_ptr<web_server::WebSocketServer> {
        if (address == refusedAddress) {
            error = "The address " + address + ":9001 cannot be used: Address already in use.";
            return nullptr;
        }
        listening[address] = std::move(handlers);
        return std::make_unique<FakeServer>([this, address] { listening.erase(address); });
    };
    surroundings.live.nextViewer = [viewers = 0]() mutable { return ++viewers; };
    surroundings.live.instance = "instance";
    surroundings.calendarTime = [this] { return calendar; };
    surroundings.announce = [this](const petrel::AnnouncedPhone& phone) {
        announcements.push_back("+" + phone.name + " " + phone.address);
        if (whileAnnouncing) whileAnnouncing();
    };
    surroundings.withdraw = [this](const std::string& address) { announcements.push_back("-" + address); };
    surroundings.onRefused = [this](const std::string& address, const std::string& reason) {
        refusals.push_back(address + " " + reason);
    };
    surroundings.onNewCode = [this] { ++newCodes; };
    std::string error;
    std::optional<petrel::PhoneBook> book = petrel::PhoneBook::Open(temporary.State(), error);
    hub = std::make_unique<petrel::Hub>(std::move(settings), std::move(surroundings), std::move(*book));
    hub->SetReachability({{{"127.0.0.1", "192.0.2.1"}, {"localhost"}}, {"https://192.0.2.1:9443/"}});
}

std::shared_ptr<FakeExchange> HubFixture::Do(const std::string& method, const std::string& target,
                                             web_server::HttpFields fields, const std::string& body) {
    const auto exchange = std::make_shared<FakeExchange>();
    const std::size_t question = target.find('?');
    exchange->request.method = method;
    exchange->request.path = target.substr(0, question);
    if (question != std::string::npos) exchange->request.query = target.substr(question + 1);
    exchange->request.fields = std::move(fields);
    exchange->request.body = body;
    exchange->request.remoteAddress = remoteAddress;
    exchange->request.fromThisMachine = fromThisMachine;
    hub->OnRequest(exchange);
    return exchange;
}

std::shared_ptr<FakeExchange> HubFixture::Get(const std::string& target, const std::string& cookie) {
    web_server::HttpFields fields{{"host", kHost}, {"sec-fetch-site", "same-origin"}};
    if (!cookie.empty()) fields.emplace_back("cookie", "petrel=" + cookie);
    return Do("GET", target, std::move(fields));
}

std::shared_ptr<FakeExchange> HubFixture::PostText(const std::string& path, const std::string& body,
                                                   const std::string& cookie) {
    web_server::HttpFields fields{
        {"host", kHost}, {"origin", std::string("https://") + kHost}, {"content-type", "application/json"}};
    if (!cookie.empty()) fields.emplace_back("cookie", "petrel=" + cookie);
    return Do("POST", path, std::move(fields), body);
}

std::shared_ptr<FakeExchange> HubFixture::Post(const std::string& path, const json& body,
                                               const std::string& cookie) {
    return PostText(path, body.dump(), cookie);
}

std::string HubFixture::Pair(const std::string& name) {
    const auto paired = Post("/api/pair", {{"code", hub->Code()}, {"name", name}});
    EXPECT_EQ(paired->Status(), 200) << paired->answer->body;
    const std::string cookie = paired->Field("Set-Cookie");
    EXPECT_TRUE(cookie.starts_with("petrel="));
    return cookie.substr(7, cookie.find(';') - 7);
}

std::shared_ptr<FakeStream> HubFixture::OpenPage(const std::string& cookie, const std::string& tab,
                                                 const std::string& more) {
    const auto exchange = Get("/api/events?tab=" + tab + more, cookie);
    EXPECT_NE(exchange->stream, nullptr) << (exchange->answer ? exchange->answer->body : "");
    return exchange->stream;
}

std::shared_ptr<FakeHost> HubFixture::Dial(const std::string& address, const std::string& session) {
    auto host = std::make_shared<FakeHost>();
    listening.at(address).onOpen(host);
    if (!session.empty()) {
        Say(address, host,
            {{"action", "joinMaster"}, {"ownerKey", ""}, {"sessionGuid", session}, {"username", "Halyard"}});
    }
    return host;
}

void HubFixture::Say(const std::string& address, const std::shared_ptr<FakeHost>& host, const json& message) {
    listening.at(address).onMessage(host, message.dump());
}

void HubFixture::Offer(const std::string& address, const std::shared_ptr<FakeHost>& host,
                       const std::string& sdp) {
    Say(address, host,
        {{"action", "masterMadeOffer"},
         {"peersIdentifier", ""},
         {"sdp", sdp},
         {"sessionGuid", "GUID"},
         {"type", "offer"}});
}

void HubFixture::Leave(const std::string& address, const std::shared_ptr<FakeHost>& host) {
    listening.at(address).onClose(host);
}

void HubFixture::Advance(std::chrono::milliseconds by) {
    now += by;
    hub->Tick();
}

}  // namespace tests
