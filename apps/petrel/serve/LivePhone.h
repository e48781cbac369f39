// A phone whose page is open: hosts reach it by WebSocket on its address, and what they and the page say to
// each other passes through here. Media do not: they flow between the phone and the host. Lives on the hub's
// thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/petrel/SignallingMessages.h"
#include "apps/petrel/serve/EventLog.h"
#include "apps/petrel/serve/PhoneBook.h"
#include "apps/petrel/serve/TallyMemory.h"
#include "support/object_count.h"
#include "web_server/HttpsServer.h"
#include "web_server/WebSocketServer.h"

namespace petrel {

// One host's plug-in at one phone.
struct Viewer {
    int number = 0;  // unique while the server runs
    std::string name;
    std::string address;      // empty: this machine
    std::string sessionGuid;  // the same when the plug-in comes back
    int offer = 0;            // how many it has made
    bool onAir = false;
};

// What a phone uses of the house that it lives in.
struct LivePhoneSurroundings {
    using Time = std::chrono::steady_clock::time_point;
    using Listen = std::function<std::unique_ptr<web_server::WebSocketServer>(
        const std::string& address, web_server::WebSocketHandlers handlers, std::string& error)>;

    std::function<Time()> now;
    std::function<void(std::function<void()> job)> post;  // [any-thread] to the hub's thread
    Listen listen;
    std::function<int()> nextViewer;
    std::string instance;  // another one at each start of the server
};

class LivePhone : public std::enable_shared_from_this<LivePhone>, private support::Counted<LivePhone> {
public:
    using Counted::Alive;
    using Time = std::chrono::steady_clock::time_point;

    // How long hosts are kept waiting for a page whose stream is gone.
    static constexpr std::chrono::seconds kGrace{5};
    // A host that was asked offers at once. One that has not for so long does not, and may be asked again.
    static constexpr std::chrono::seconds kOfferPatience{3};

    // Null with a sentence in `error` when the phone's address cannot be used.
    // `tallies` outlives the phone.
    static std::shared_ptr<LivePhone> Start(const PairedPhone& phone, TallyMemory& tallies,
                                            LivePhoneSurroundings surroundings, std::string& error);
    LivePhone(const PairedPhone& toBe, TallyMemory& memory, LivePhoneSurroundings toUse);
    ~LivePhone();

    // The page

    bool IsOpen() const { return stream != nullptr; }
    const std::string& Tab() const { return tab; }
    bool IsPastGrace(Time now) const { return !IsOpen() && now - lostAt >= kGrace; }

    // Makes `opened` the page's stream, in place of an older one. The same tab goes on after the event that
    // it names, or after the last one that was sent; another tab begins anew, and so does every host. Returns
    // a number for OnStreamEnd.
    std::uint64_t Attach(std::shared_ptr<web_server::EventStream> opened, const std::string& openedTab,
                         std::optional<std::uint64_t> lastEvent);
    void OnStreamEnd(std::uint64_t number);
    // A word without meaning on the stream. Each request of the page leads to one: a stream that stays silent
    // after it is dead, though no end of it was noticed.
    void ShowLife();
    // The last event of the stream, which ends: "taken", "revoked", "closing".
    void Dismiss(const char* event);

    enum class Passed { On, NoSuchViewer, OlderOffer };
    // `offer` is the number of the offer that is meant; nothing: the latest.
    Passed PassAnswer(int viewer, std::optional<int> offer, const std::string& sdp);
    Passed PassCandidate(int viewer, std::optional<int> offer, const std::string& candidate,
                         const std::string& mid, int lineIndex);

    // The page's connection to this host failed: the host is asked to offer anew, unless its offer is on the
    // way.
    Passed Renew(int viewer);

    void Rename(const std::string& name) { phone.name = name; }  // hosts hear of it when they join
    const PairedPhone& Identity() const { return phone; }
    std::uint16_t Port() const { return server->Port(); }
    std::vector<Viewer> Viewers() const;  // those that have joined

private:
    using Connection = std::shared_ptr<web_server::WebSocketConnection>;
    struct Client {
        Viewer viewer;
        Connection connection;
        bool joined = false;
        bool tallyHeard = false;
        std::string fingerprint;      // of its last offer
        std::optional<Time> askedAt;  // for an offer that has not come yet
    };

    web_server::WebSocketHandlers Handlers();
    void OnOpen(const Connection& connection);
    void OnMessage(const Connection& connection, const std::string& text);
    void OnClose(const Connection& connection);

    void Handle(Client& client, const JoinMaster& join);
    void Handle(Client& client, const MasterMadeOffer& offer);
    void Handle(Client& client, const CreatedAnswer& answer);
    void Handle(Client& client, const RemoteCandidate& candidate);
    void Handle(Client& client, const TallyStateChanged& tally);
    void Handle(Client& client, const UnknownMessage& message);
    void Handle(Client& client, const MalformedMessage& message);

    Client* WithNumber(int viewer);
    bool AwaitsOffer(const Client& client) const;
    Passed Check(const Client* client, std::optional<int> offer) const;
    bool IsForMe(const std::string& peersIdentifier) const;
    std::string NameFor(const JoinMaster& join, const std::string& address) const;
    void SendJoined(Client& client);
    void SendTally(Client& client, bool onAir);
    void KeepTally(const Client& client);
    bool HadOnAir(const Client& client);
    void SendEvent(const char* name, const std::string& data, int viewer);
    std::string Hello(bool resumed) const;

    PairedPhone phone;
    TallyMemory& tallies;
    const LivePhoneSurroundings surroundings;
    std::unique_ptr<web_server::WebSocketServer> server;
    std::map<Connection, Client> clients;
    std::shared_ptr<web_server::EventStream> stream;  // null: the page is away
    std::uint64_t streamNumber = 0;
    std::uint64_t lastSent = 0;  // of the log
    std::string tab;
    Time lostAt;
    EventLog log;
};

}  // namespace petrel
