#include "tests/e2e/rendezvous/RendezvousService.h"

#include <gtest/gtest.h>

#include <utility>

#include "support/weak_callback.h"

namespace rendezvous {
namespace {

using nlohmann::json;
using web_server::WebSocketConnection;

constexpr const char* kPath = "/join";
constexpr double kDialSeconds = 10.0;

std::string TextOf(const json& message, const char* key) {
    return message.value(key, std::string());
}

}  // namespace

// Who is there. Told by the network threads of both sides.
class RendezvousService::Meeting : public std::enable_shared_from_this<Meeting> {
public:
    void OnPluginCame(std::shared_ptr<WebSocketConnection> connection) {
        const support::MutexLock lock(mutex);
        plugin = std::move(connection);
    }

    void OnPluginLeft(const std::shared_ptr<WebSocketConnection>& connection) {
        const support::MutexLock lock(mutex);
        if (plugin != connection) return;
        plugin.reset();
        join.clear();
    }

    void OnPluginSaid(const std::string& text) {
        const json message = json::parse(text);
        const support::MutexLock lock(mutex);
        if (TextOf(message, "action") == "joinMaster") {
            OnJoin(text, message);
            return;
        }
        fromPlugin.push_back(text);
        const std::string peer = TextOf(message, "peersIdentifier");
        const bool toAll = TextOf(message, "action") == "broadcastToPeers";
        for (const Phone& phone : phones) {
            if (toAll || (!peer.empty() && phone.peer == peer)) phone.socket->send(text.c_str());
        }
    }

    std::size_t AddPhone(const std::string& url) {
        const support::MutexLock lock(mutex);
        const std::size_t number = phones.size();
        Phone& phone = phones.emplace_back();
        phone.socket = cWebSocket::Factory();
        const std::weak_ptr<Meeting> weak = weak_from_this();
        phone.socket->onOpen =
            support::WeakCallback(weak, [number](Meeting& self, const auto&) { self.OnPhoneCame(number); });
        phone.socket->onMessage = support::WeakCallback(
            weak, [number](Meeting& self, const char* text) { self.OnPhoneSaid(number, text); });
        phone.socket->onClose = support::WeakCallback(
            weak, [number](Meeting& self, const auto&, bool) { self.OnPhoneLeft(number); });
        phone.socket->onError = [url](cWebSocket::Error) { ADD_FAILURE() << "no phone at " << url; };
        phone.socket->open(url.c_str(), kDialSeconds);
        return number;
    }

    void SendAway(std::size_t number) {
        Socket(number)->close();
        OnPhoneLeft(number);
    }

    void SayToPlugin(const std::string& text) {
        const support::MutexLock lock(mutex);
        if (plugin) plugin->Send(text);
    }

    void CloseToPlugin() {
        const support::MutexLock lock(mutex);
        if (plugin) plugin->Close();
        plugin.reset();
        join.clear();
    }

    void AnswerJoinsWith(json newAnswer) {
        const support::MutexLock lock(mutex);
        answer = std::move(newAnswer);
    }
    std::vector<std::string> Joins() const {
        const support::MutexLock lock(mutex);
        return joins;
    }
    std::vector<std::string> FromPlugin() const {
        const support::MutexLock lock(mutex);
        return fromPlugin;
    }
    std::string PeerIdentifier(std::size_t number) const {
        const support::MutexLock lock(mutex);
        return phones.at(number).peer;
    }

    // Without the lock, since their handlers take it.
    void EndPhones() {
        std::vector<Phone> ended;
        const support::MutexLock lock(mutex);
        ended.swap(phones);
        for (const Phone& phone : ended)
            phone.socket->close();
    }

private:
    struct Phone {
        std::shared_ptr<cWebSocket> socket;
        std::string peer;
        bool isOpen = false;
    };

    // The plug-in hears its own coming too, like every member of the session.
    void OnJoin(const std::string& text, const json& message) REQUIRES(mutex) {
        joins.push_back(text);
        join = text;
        json response = answer;
        response["action"] = "joinMasterResponse";
        plugin->Send(response.dump());
        plugin->Send(json{{"action", "peerJoined"},
                          {"username", TextOf(message, "username")},
                          {"peersIdentifier", "the plug-in itself"},
                          {"sessionGuid", TextOf(message, "sessionGuid")}}
                         .dump());
        for (const Phone& phone : phones) {
            if (phone.isOpen) phone.socket->send(text.c_str());
        }
    }

    void OnPhoneCame(std::size_t number) {
        const support::MutexLock lock(mutex);
        phones.at(number).isOpen = true;
        if (!join.empty()) phones.at(number).socket->send(join.c_str());
    }

    void OnPhoneSaid(std::size_t number, const char* text) {
        const json message = json::parse(text);
        const support::MutexLock lock(mutex);
        if (TextOf(message, "action") == "peerJoined") {
            phones.at(number).peer = TextOf(message, "peersIdentifier");
        }
        if (plugin) plugin->Send(text);
    }

    void OnPhoneLeft(std::size_t number) {
        const support::MutexLock lock(mutex);
        Phone& phone = phones.at(number);
        phone.isOpen = false;
        if (!plugin || phone.peer.empty()) return;
        plugin->Send(json{{"action", "peerDisconnected"}, {"peersIdentifier", phone.peer}}.dump());
    }

    std::shared_ptr<cWebSocket> Socket(std::size_t number) const {
        const support::MutexLock lock(mutex);
        return phones.at(number).socket;
    }

    mutable support::Mutex mutex;
    std::shared_ptr<WebSocketConnection> plugin GUARDED_BY(mutex);
    std::string join GUARDED_BY(mutex);  // while the plug-in is there and has joined
    json answer GUARDED_BY(mutex) = {{"iceServers", json::array()}, {"result", "OK"}, {"chatUrl", ""}};
    std::vector<Phone> phones GUARDED_BY(mutex);
    std::vector<std::string> joins GUARDED_BY(mutex);
    std::vector<std::string> fromPlugin GUARDED_BY(mutex);
};

RendezvousService::RendezvousService(const tests::CertificateWish& certificate)
    : tls(tests::MakeServerContext(certificate)), meeting(std::make_shared<Meeting>()) {
    web_server::WebSocketHandlers handlers;
    handlers.onOpen = [this](std::shared_ptr<WebSocketConnection> connection) {
        meeting->OnPluginCame(std::move(connection));
    };
    handlers.onMessage = [this](const std::shared_ptr<WebSocketConnection>&, const std::string& text) {
        meeting->OnPluginSaid(text);
    };
    handlers.onClose = [this](const std::shared_ptr<WebSocketConnection>& connection) {
        meeting->OnPluginLeft(connection);
    };
    web_server::WebSocketServerOptions options;
    options.path = kPath;
    std::string error;
    server = web_server::WebSocketServer::Listen(options, std::move(handlers), error);
    EXPECT_TRUE(server) << error;
    ByteRelay::Route route;
    route.targetPort = server->Port();
    route.tls = tls.get();
    front = std::make_unique<ByteRelay>(route);
}

RendezvousService::~RendezvousService() {
    meeting->EndPhones();
    front.reset();
    server.reset();
}

std::string RendezvousService::Address() const {
    return "127.0.0.1:" + std::to_string(front->Port()) + kPath;
}

void RendezvousService::AnswerJoinsWith(json answer) {
    meeting->AnswerJoinsWith(std::move(answer));
}

std::size_t RendezvousService::AddPhone(const std::string& url) {
    return meeting->AddPhone(url);
}

void RendezvousService::SendAway(std::size_t phone) {
    meeting->SendAway(phone);
}

void RendezvousService::SayToPlugin(const json& message) {
    meeting->SayToPlugin(message.dump());
}

void RendezvousService::CloseToPlugin() {
    meeting->CloseToPlugin();
}

std::vector<std::string> RendezvousService::Joins() const {
    return meeting->Joins();
}

std::vector<std::string> RendezvousService::FromPlugin() const {
    return meeting->FromPlugin();
}

std::string RendezvousService::PeerIdentifier(std::size_t phone) const {
    return meeting->PeerIdentifier(phone);
}

}  // namespace rendezvous
