#include "apps/petrel/Phone.h"

#include <spdlog/spdlog.h>

#include <utility>

namespace petrel {

std::shared_ptr<Phone> Phone::Listen(PhoneIdentity identity, Studio studio, std::uint16_t port,
                                     std::string& error) {
    auto phone = std::make_shared<Phone>(std::move(identity), studio);
    web_server::WebSocketServerOptions options;
    options.address = phone->identity.address;
    options.port = port;
    phone->server = web_server::WebSocketServer::Listen(options, phone->Handlers(), error);
    if (phone->server == nullptr) return nullptr;
    spdlog::info("{}: listening on port {} as \"{}\"", phone->identity.address, phone->Port(),
                 phone->identity.userName);
    return phone;
}

Phone::Phone(PhoneIdentity toBe, Studio sharedStudio) : identity(std::move(toBe)), studio(sharedStudio) {}

Phone::~Phone() = default;

void Phone::Stop() {
    server->Stop();
    studio.loop.Post([self = shared_from_this()] { self->clients.clear(); });
}

web_server::WebSocketHandlers Phone::Handlers() {
    // The network thread only hands over.
    const auto handOver = [weak = weak_from_this(), &loop = studio.loop](auto job) {
        loop.Post([weak, job = std::move(job)] {
            if (const std::shared_ptr<Phone> self = weak.lock()) job(*self);
        });
    };
    web_server::WebSocketHandlers handlers;
    handlers.onOpen = [handOver](Connection connection) {
        handOver([connection = std::move(connection)](Phone& self) { self.OnOpen(connection); });
    };
    handlers.onMessage = [handOver](Connection connection, std::string text) {
        handOver([connection = std::move(connection), text = std::move(text)](Phone& self) {
            self.OnMessage(connection, text);
        });
    };
    handlers.onClose = [handOver](Connection connection) {
        handOver([connection = std::move(connection)](Phone& self) { self.OnClose(connection); });
    };
    return handlers;
}

void Phone::OnOpen(const Connection& connection) {
    clients[connection] = std::make_shared<PhoneClient>(identity, studio, connection);
}

void Phone::OnMessage(const Connection& connection, const std::string& text) {
    const auto found = clients.find(connection);
    if (found != clients.end()) found->second->OnMessage(text);
}

void Phone::OnClose(const Connection& connection) {
    clients.erase(connection);
    spdlog::info("{}, client {}: left", identity.address, connection->RemoteAddress());
}

}  // namespace petrel
