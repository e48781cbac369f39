// `petrel serve`: the HTTPS server, the hub and its thread, the announcements, and what the operator reads in
// the terminal.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "apps/petrel/ControlLoop.h"
#include "apps/petrel/ServiceAnnouncer.h"
#include "apps/petrel/serve/Certificates.h"
#include "apps/petrel/serve/GivenCertificate.h"
#include "apps/petrel/serve/Hub.h"
#include "apps/petrel/serve/RefusalLog.h"
#include "apps/petrel/serve/ServeOptions.h"
#include "apps/petrel/serve/TickingLoop.h"
#include "support/annotated_mutex.h"
#include "web_server/HttpsServer.h"

namespace petrel {

class PhoneServer {
public:
    // Null with a sentence in `error` when a port or a file cannot be used.
    static std::unique_ptr<PhoneServer> Start(const ServeOptions& options, std::string& error);
    ~PhoneServer();  // tells the pages, closes the phones
    PhoneServer(const PhoneServer&) = delete;
    PhoneServer& operator=(const PhoneServer&) = delete;

    std::uint16_t Port() const { return https->Port(); }

private:
    PhoneServer(const ServeOptions& toUse, StateFolder toKeepIn);

    // Each returns a sentence when it failed.
    std::string CheckAddresses();
    std::string ReadToken();
    std::string ReadCertificates();
    std::string OpenHub();
    std::string OpenServer();

    // The certificate for the names that the machine has now; nothing with a sentence in `error`.
    std::optional<KeyAndCertificate> CertificateFor(const MachineNames& machine, std::string& error);
    // With the names of a certificate that was given.
    MachineNames KnownNames() const;
    std::vector<std::string> Urls() const;
    void LookAround();  // addresses come and go, certificates end or are renewed
    bool HasRenewedCertificate();
    void TellReachability();
    void OnTick();

    void PrintStart() const;
    void PrintCode() const;
    void PrintEvent(const std::string& line) const;  // unless events are not asked for

    const ServeOptions options;
    const StateFolder folder;
    std::shared_ptr<void> onlyServer;  // the lock on the folder
    std::string operatorToken;
    std::string operatorTokenFile;
    std::optional<CertificateStore> certificates;  // unless one was given
    std::optional<GivenCertificate> givenCertificate;
    MachineNames machine;  // hub's thread, once it runs
    std::chrono::steady_clock::time_point nextLook;
    std::chrono::steady_clock::time_point nextCertificateCheck;
    int viewers = 0;
    RefusalLog refusals;

    support::Mutex mutex;
    MachineNames namesForRedirects GUARDED_BY(mutex);

    ControlLoop announcing;  // the daemon may be slow
    std::unique_ptr<ServiceAnnouncer> announcer;
    TickingLoop loop;
    std::unique_ptr<Hub> hub;
    std::unique_ptr<web_server::HttpsServer> https;
};

}  // namespace petrel
