#include "apps/petrel/serve/PhoneServer.h"

#include <spdlog/spdlog.h>

#include <ctime>
#include <utility>

#include "apps/petrel/Phone.h"
#include "apps/petrel/serve/RequestRules.h"
#include "apps/petrel/serve/Secrets.h"
#include "apps/petrel/serve/ServeEvents.h"

namespace petrel {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kTickPeriod{200};
constexpr std::chrono::seconds kLookPeriod{3};
constexpr std::chrono::hours kCertificateCheckPeriod{1};
constexpr std::size_t kTokenBytes = 24;
constexpr std::size_t kMostHostsOfAPhone = 16;
constexpr const char* kTokenFile = "operator.token";
constexpr const char* kServerLock = "server.lock";

std::unique_ptr<web_server::WebSocketServer> ListenForHosts(const std::string& address,
                                                            web_server::WebSocketHandlers handlers,
                                                            std::string& error) {
    web_server::WebSocketServerOptions options;
    options.address = address;
    options.port = kPhonePort;
    options.maximumConnections = kMostHostsOfAPhone;
    return web_server::WebSocketServer::Listen(options, std::move(handlers), error);
}

}  // namespace

std::unique_ptr<PhoneServer> PhoneServer::Start(const ServeOptions& options, std::string& error) {
    const std::optional<StateFolder> folder =
        StateFolder::Open(options.state.empty() ? DefaultStateFolder() : options.state, error);
    if (!folder) return nullptr;
    std::unique_ptr<PhoneServer> server(new PhoneServer(options, *folder));
    server->onlyServer = folder->Lock(kServerLock, StateFolder::Patience::GivesUp);
    if (server->onlyServer == nullptr) {
        error = "Another petrel serve uses the state in " + folder->PathOf("").string() + ".";
        return nullptr;
    }
    for (std::string (PhoneServer::*step)() :
         {&PhoneServer::CheckAddresses, &PhoneServer::ReadToken, &PhoneServer::ReadCertificates,
          &PhoneServer::OpenHub, &PhoneServer::OpenServer}) {
        error = (*server.*step)();
        if (!error.empty()) return nullptr;
    }
    server->PrintStart();
    server->loop.Start();
    return server;
}

PhoneServer::PhoneServer(const ServeOptions& toUse, StateFolder toKeepIn)
    : options(toUse),
      folder(std::move(toKeepIn)),
      machine(NamesOfThisMachine()),
      nextLook(Clock::now() + kLookPeriod),
      nextCertificateCheck(Clock::now() + kCertificateCheckPeriod),
      refusals([](const std::string& line) { spdlog::warn(line); }),
      loop(kTickPeriod, [this] { OnTick(); }) {}

// The hub first, on its thread, so that every page hears of it; then the server, which lets that out; then
// the rest.
PhoneServer::~PhoneServer() {
    loop.Post([this] {
        if (hub != nullptr) hub->Close();
    });
    loop.Stop();
    if (https != nullptr) https->Stop();
    hub.reset();
    announcing.Stop();
    announcer.reset();
}

std::string PhoneServer::CheckAddresses() {
    for (const std::string& address : options.phoneAddresses) {
        std::string problem = ProblemOfOwnAddress(address);
        if (!problem.empty()) return problem;
    }
    return {};
}

std::string PhoneServer::ReadToken() {
    std::string error;
    operatorTokenFile = folder.PathOf(kTokenFile).string();
    operatorToken = folder.Read(kTokenFile, error).value_or("");
    while (!operatorToken.empty() && operatorToken.back() == '\n')
        operatorToken.pop_back();
    if (!error.empty() || !operatorToken.empty()) return error;
    operatorToken = RandomText(kTokenBytes);
    folder.Write(kTokenFile, operatorToken + "\n", FileAccess::OwnerOnly, error);
    return error;
}

std::string PhoneServer::ReadCertificates() {
    if (options.certificate.empty()) {
        std::string error;
        const std::string host = machine.names.size() > 1 ? machine.names[1] : machine.names.front();
        certificates =
            CertificateStore::Open(folder, ("Petrel on " + host).substr(0, 64), std::time(nullptr), error);
        return error;
    }
    std::string error;
    givenCertificate = GivenCertificate::Open(options.certificate, options.key, error);
    return error;
}

std::string PhoneServer::OpenHub() {
    std::string error;
    std::optional<PhoneBook> book = PhoneBook::Open(folder, error);
    if (!book) return error;
    announcer = std::make_unique<ServiceAnnouncer>(std::vector<AnnouncedPhone>{});
    HubSettings settings;
    settings.serverName = options.name;
    if (settings.serverName.empty())
        settings.serverName = machine.names.size() > 1 ? machine.names[1] : machine.names.front();
    settings.operatorToken = operatorToken;
    if (certificates) settings.authority = certificates->Authority();
    settings.phoneAddresses = options.phoneAddresses;
    HubSurroundings surroundings;
    surroundings.live.now = [] { return Clock::now(); };
    surroundings.live.post = [this](std::function<void()> job) { loop.Post(std::move(job)); };
    surroundings.live.listen = ListenForHosts;
    surroundings.live.nextViewer = [this] { return ++viewers; };
    surroundings.live.instance = RandomText(12);
    surroundings.calendarTime = [] { return static_cast<std::int64_t>(std::time(nullptr)); };
    surroundings.announce = [this](const AnnouncedPhone& phone) {
        PrintEvent(OpenedEvent(phone));
        announcing.Post([this, phone] { announcer->Add(phone); });
    };
    surroundings.withdraw = [this](const std::string& address) {
        PrintEvent(ClosedEvent(address));
        announcing.Post([this, address] { announcer->Remove(address); });
    };
    surroundings.onNewCode = [this] { PrintCode(); };
    surroundings.onRefused = [this](const std::string& address, const std::string& reason) {
        refusals.Add(address, reason, Clock::now());
    };
    hub = std::make_unique<Hub>(std::move(settings), std::move(surroundings), std::move(*book));
    return {};
}

std::string PhoneServer::OpenServer() {
    std::string error;
    const std::optional<KeyAndCertificate> certificate = CertificateFor(machine, error);
    if (!certificate) return error;
    web_server::HttpsServerOptions serverOptions;
    serverOptions.address = options.address;
    serverOptions.port = options.port;
    serverOptions.fieldsOfAll = SecurityFields();
    web_server::HttpsHandlers handlers;
    handlers.onRequest = [this](const Hub::Exchange& exchange) {
        loop.Post([this, exchange] { hub->OnRequest(exchange); });
    };
    handlers.bodyLimit = Hub::BodyLimit;
    handlers.isOurHost = [this](const std::string& host) {
        const support::MutexLock lock(mutex);
        return IsNameOfMachine(namesForRedirects, host);
    };
    handlers.onRefused = [this](const std::string& address, const std::string& reason) {
        loop.Post([this, address, reason] { refusals.Add(address, reason, Clock::now()); });
    };
    {
        const support::MutexLock lock(mutex);
        namesForRedirects = KnownNames();
    }
    https = web_server::HttpsServer::Listen(serverOptions, {certificate->certificate, certificate->key},
                                            std::move(handlers), error);
    if (https != nullptr) hub->SetReachability({KnownNames(), Urls()});
    return error;
}

}  // namespace petrel
