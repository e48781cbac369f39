#include "apps/petrel/serve/LivePhone.h"

#include <fmt/format.h>
#include <spdlog/spdlog.h>

#include <nlohmann/json.hpp>
#include <utility>

#include "apps/petrel/serve/ThisMachine.h"

namespace petrel {
namespace {

using nlohmann::json;

constexpr const char* kDefaultViewerName = "Halyard";
constexpr std::size_t kLongestViewerName = 60;

std::string Text(const json& object) {
    return object.dump(-1, ' ', false, json::error_handler_t::replace);
}

json Described(const Viewer& viewer) {
    return {{"viewer", viewer.number},
            {"name", viewer.name},
            {"address", viewer.address},
            {"session", viewer.sessionGuid},
            {"onAir", viewer.onAir}};
}

// Of "192.0.2.1:5000"; empty for this machine.
std::string AddressOf(const std::string& endpoint) {
    const std::string address = HostOf(endpoint);
    return address.starts_with("127.") || address == "::1" ? std::string() : address;
}

// Foreign texts go into the log shortened.
std::string Shortened(const std::string& text) {
    constexpr std::size_t kMaximum = 60;
    return text.size() <= kMaximum ? text : text.substr(0, kMaximum) + "...";
}

}  // namespace

std::shared_ptr<LivePhone> LivePhone::Start(const PairedPhone& phone, TallyMemory& tallies,
                                            LivePhoneSurroundings surroundings, std::string& error) {
    auto live = std::make_shared<LivePhone>(phone, tallies, std::move(surroundings));
    live->server = live->surroundings.listen(phone.address, live->Handlers(), error);
    if (live->server == nullptr) return nullptr;
    spdlog::info("{}: \"{}\" is open to hosts", phone.address, phone.name);
    return live;
}

LivePhone::LivePhone(const PairedPhone& toBe, TallyMemory& memory, LivePhoneSurroundings toUse)
    : phone(toBe), tallies(memory), surroundings(std::move(toUse)), lostAt(surroundings.now()) {}

// The handlers hand over to the hub's thread, which is this one: nothing that waits can be waiting for us.
LivePhone::~LivePhone() {
    if (server == nullptr) return;
    server->Stop();
    for (const auto& [connection, client] : clients)
        KeepTally(client);
    spdlog::info("{}: \"{}\" is closed to hosts", phone.address, phone.name);
}

web_server::WebSocketHandlers LivePhone::Handlers() {
    const auto handOver = [weak = weak_from_this(), post = surroundings.post](auto job) {
        post([weak, job = std::move(job)] {
            if (const std::shared_ptr<LivePhone> self = weak.lock()) job(*self);
        });
    };
    web_server::WebSocketHandlers handlers;
    handlers.onOpen = [handOver](Connection connection) {
        handOver([connection = std::move(connection)](LivePhone& self) { self.OnOpen(connection); });
    };
    handlers.onMessage = [handOver](Connection connection, std::string text) {
        handOver([connection = std::move(connection), text = std::move(text)](LivePhone& self) {
            self.OnMessage(connection, text);
        });
    };
    handlers.onClose = [handOver](Connection connection) {
        handOver([connection = std::move(connection)](LivePhone& self) { self.OnClose(connection); });
    };
    return handlers;
}

// The page

std::uint64_t LivePhone::Attach(std::shared_ptr<web_server::EventStream> opened, const std::string& openedTab,
                                std::optional<std::uint64_t> lastEvent) {
    if (stream != nullptr) stream->End();
    stream = std::move(opened);
    std::optional<std::vector<std::string>> missed;
    if (tab == openedTab) missed = log.After(lastEvent.value_or(lastSent));
    tab = openedTab;
    stream->Send("retry: 1000\n\n" + Hello(missed.has_value()));
    if (missed) {
        for (std::string& text : *missed)
            stream->Send(std::move(text));
        lastSent = log.Last();
    } else {
        // A page that knows nothing of what was offered before: every host offers anew, at once and on the
        // socket that it has.
        log.Clear();
        for (auto& [connection, client] : clients)
            if (client.joined && !AwaitsOffer(client)) SendJoined(client);
    }
    return ++streamNumber;
}

void LivePhone::OnStreamEnd(std::uint64_t number) {
    if (number != streamNumber || stream == nullptr) return;
    stream.reset();
    lostAt = surroundings.now();
    spdlog::info("{}: \"{}\" has lost its page", phone.address, phone.name);
}

void LivePhone::ShowLife() {
    if (stream != nullptr) stream->Send(std::string(web_server::kEventStreamComment));
}

void LivePhone::Dismiss(const char* event) {
    if (stream == nullptr) return;
    stream->Send(EventText(event, "{}"));
    stream->End();
    stream.reset();
    lostAt = surroundings.now();
}

LivePhone::Passed LivePhone::PassAnswer(int viewer, std::optional<int> offer, const std::string& sdp) {
    Client* const client = WithNumber(viewer);
    const Passed checked = Check(client, offer);
    if (checked != Passed::On) return checked;
    client->connection->Send(GotAnswerMessage(phone.identifier, client->viewer.sessionGuid, sdp));
    return Passed::On;
}

LivePhone::Passed LivePhone::PassCandidate(int viewer, std::optional<int> offer, const std::string& candidate,
                                           const std::string& mid, int lineIndex) {
    Client* const client = WithNumber(viewer);
    const Passed checked = Check(client, offer);
    if (checked != Passed::On) return checked;
    // The end of the candidates has no message of its own.
    if (candidate.empty()) return Passed::On;
    client->connection->Send(
        IceMessage(phone.identifier, client->viewer.sessionGuid, candidate, mid, lineIndex));
    return Passed::On;
}

LivePhone::Passed LivePhone::Renew(int viewer) {
    Client* const client = WithNumber(viewer);
    if (client == nullptr) return Passed::NoSuchViewer;
    if (!AwaitsOffer(*client)) SendJoined(*client);
    return Passed::On;
}

LivePhone::Client* LivePhone::WithNumber(int viewer) {
    for (auto& [connection, client] : clients)
        if (client.joined && client.viewer.number == viewer) return &client;
    return nullptr;
}

bool LivePhone::AwaitsOffer(const Client& client) const {
    return client.askedAt && surroundings.now() - *client.askedAt < kOfferPatience;
}

// A host takes an answer for one to its latest offer, whichever it belongs to.
LivePhone::Passed LivePhone::Check(const Client* client, std::optional<int> offer) const {
    if (client == nullptr) return Passed::NoSuchViewer;
    const bool isOlder = AwaitsOffer(*client) || (offer && *offer != client->viewer.offer);
    return isOlder ? Passed::OlderOffer : Passed::On;
}

std::vector<Viewer> LivePhone::Viewers() const {
    std::map<int, Viewer> ordered;
    for (const auto& [connection, client] : clients)
        if (client.joined) ordered.emplace(client.viewer.number, client.viewer);
    std::vector<Viewer> viewers;
    for (auto& [number, viewer] : ordered)
        viewers.push_back(std::move(viewer));
    return viewers;
}

std::string LivePhone::Hello(bool resumed) const {
    json viewers = json::array();
    for (const Viewer& viewer : Viewers())
        viewers.push_back(Described(viewer));
    return EventText("hello", Text({{"instance", surroundings.instance},
                                    {"address", phone.address},
                                    {"name", phone.name},
                                    {"resumed", resumed},
                                    {"viewers", std::move(viewers)}}));
}

void LivePhone::SendEvent(const char* name, const std::string& data, int viewer) {
    const std::string& text = log.Add(name, data, viewer);
    if (stream == nullptr) return;
    stream->Send(text);
    lastSent = log.Last();
}

// The hosts

void LivePhone::OnOpen(const Connection& connection) {
    Client& client = clients[connection];
    client.connection = connection;
    client.viewer.number = surroundings.nextViewer();
    client.viewer.address = AddressOf(connection->RemoteAddress());
}

void LivePhone::OnMessage(const Connection& connection, const std::string& text) {
    const auto found = clients.find(connection);
    if (found == clients.end()) return;
    std::visit([this, &client = found->second](const auto& message) { Handle(client, message); },
               ReadMessage(text));
}

void LivePhone::OnClose(const Connection& connection) {
    const auto found = clients.find(connection);
    if (found == clients.end()) return;
    const Client client = found->second;
    clients.erase(found);
    if (!client.joined) return;
    KeepTally(client);
    spdlog::info("{}: {} left \"{}\"", phone.address, client.viewer.name, phone.name);
    log.Forget(client.viewer.number);
    SendEvent("gone", Text({{"viewer", client.viewer.number}}), client.viewer.number);
}

void LivePhone::Handle(Client& client, const JoinMaster& join) {
    if (!client.joined) client.viewer.name = NameFor(join, client.viewer.address);
    client.joined = true;
    client.viewer.sessionGuid = join.sessionGuid;
    spdlog::info("{}: {} joined \"{}\"", phone.address, client.viewer.name, phone.name);
    SendEvent("viewer", Text(Described(client.viewer)), client.viewer.number);
    client.connection->Send(JoinAcceptedMessage());
    SendJoined(client);
}

// Every "peerJoined" lets the plug-in begin the negotiation anew.
void LivePhone::SendJoined(Client& client) {
    client.askedAt = surroundings.now();
    client.connection->Send(PeerJoinedMessage(phone.name, phone.identifier, client.viewer.sessionGuid));
}

void LivePhone::Handle(Client& client, const MasterMadeOffer& offer) {
    if (!client.joined || !IsForMe(offer.peersIdentifier)) {
        spdlog::warn("{}: an offer for another phone is ignored", phone.address);
        return;
    }
    const int viewer = client.viewer.number;
    log.Forget(viewer);  // the page answers the latest offer only
    client.askedAt.reset();
    ++client.viewer.offer;
    SendEvent("offer", Text({{"viewer", viewer}, {"offer", client.viewer.offer}, {"sdp", offer.sdp}}),
              viewer);
    client.fingerprint = FingerprintInOffer(offer.sdp);
    if (!client.tallyHeard && HadOnAir(client)) SendTally(client, true);
}

// With an earlier socket, whose end may not have been noticed yet.
bool LivePhone::HadOnAir(const Client& client) {
    const HostOfPhone host{phone.identifier, client.viewer.sessionGuid, client.fingerprint};
    for (const auto& [connection, other] : clients) {
        if (other.joined && other.viewer.onAir && !host.fingerprint.empty() &&
            other.fingerprint == host.fingerprint && other.viewer.sessionGuid == host.sessionGuid)
            return true;
    }
    return tallies.Take(host, surroundings.now());
}

void LivePhone::KeepTally(const Client& client) {
    if (client.joined && client.viewer.onAir)
        tallies.Keep({phone.identifier, client.viewer.sessionGuid, client.fingerprint}, surroundings.now());
}

void LivePhone::Handle(Client&, const CreatedAnswer&) {
    spdlog::warn("{}: an answer came, but the phone made no offer", phone.address);
}

void LivePhone::Handle(Client& client, const RemoteCandidate& candidate) {
    if (client.viewer.offer == 0 || !IsForMe(candidate.peersIdentifier)) return;
    SendEvent("candidate",
              Text({{"viewer", client.viewer.number},
                    {"offer", client.viewer.offer},
                    {"candidate", candidate.candidate},
                    {"sdpMid", candidate.mid},
                    {"sdpMLineIndex", candidate.lineIndex}}),
              client.viewer.number);
}

// Broadcasts reach every phone of a session; each looks for its own identifier. The first is passed on
// whatever it says: from before a restart of this server, the page may know another state.
void LivePhone::Handle(Client& client, const TallyStateChanged& tally) {
    if (!client.joined || tally.peersIdentifier != phone.identifier) return;
    if (client.tallyHeard && tally.onAir == client.viewer.onAir) return;
    tallies.Forget(phone.identifier, client.viewer.sessionGuid);
    SendTally(client, tally.onAir);
}

void LivePhone::SendTally(Client& client, bool onAir) {
    client.tallyHeard = true;
    client.viewer.onAir = onAir;
    spdlog::info("{}: \"{}\" is {} at {}", phone.address, phone.name, onAir ? "on air" : "off air",
                 client.viewer.name);
    SendEvent("tally", Text({{"viewer", client.viewer.number}, {"onAir", onAir}}), client.viewer.number);
}

void LivePhone::Handle(Client&, const UnknownMessage& message) {
    spdlog::warn("{}: a message \"{}\" is not understood", phone.address, Shortened(message.action));
}

void LivePhone::Handle(Client&, const MalformedMessage& message) {
    spdlog::warn("{}: {}", phone.address, Shortened(message.problem));
}

// A client that does not know the phone's identifier yet leaves it empty.
bool LivePhone::IsForMe(const std::string& peersIdentifier) const {
    return peersIdentifier.empty() || peersIdentifier == phone.identifier;
}

// All plug-ins give themselves one name; where they are tells them apart, or else a number.
std::string LivePhone::NameFor(const JoinMaster& join, const std::string& address) const {
    std::string name = ProblemOfName(join.userName + "x").empty() ? join.userName : std::string();
    if (name.empty() || name.size() > kLongestViewerName) name = kDefaultViewerName;
    if (!address.empty()) name += " (" + address + ")";
    const auto isTaken = [this](const std::string& wanted) {
        for (const auto& [connection, client] : clients)
            if (client.joined && client.viewer.name == wanted) return true;
        return false;
    };
    if (!isTaken(name)) return name;
    int number = 2;
    while (isTaken(fmt::format("{} {}", name, number)))
        ++number;
    return fmt::format("{} {}", name, number);
}

}  // namespace petrel
