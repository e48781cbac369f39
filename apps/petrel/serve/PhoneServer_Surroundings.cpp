// What changes around the running server, and what it tells the operator.
#include <fmt/format.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <ctime>
#include <iostream>
#include <utility>

#include "apps/petrel/serve/PhoneServer.h"
#include "apps/petrel/serve/QrPicture.h"
#include "apps/petrel/serve/ServeEvents.h"

namespace petrel {
namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kEveryIpv6 = "::";  // and of IPv4
constexpr std::chrono::seconds kLookPeriod{3};
constexpr std::chrono::hours kCertificateCheckPeriod{1};

bool IsEveryAddress(const std::string& address) {
    return address == "0.0.0.0" || address == kEveryIpv6;
}

}  // namespace

std::optional<KeyAndCertificate> PhoneServer::CertificateFor(const MachineNames& now, std::string& error) {
    if (givenCertificate) return givenCertificate->Current();
    return certificates->ForMachine(now, std::time(nullptr), error);
}

MachineNames PhoneServer::KnownNames() const {
    MachineNames names = machine;
    if (!givenCertificate) return names;
    for (std::string& name : NamesInCertificate(givenCertificate->Current().certificate).names)
        if (!name.empty()) names.names.push_back(std::move(name));
    return names;
}

std::vector<std::string> PhoneServer::Urls() const {
    std::vector<std::string> hosts;
    if (givenCertificate) {
        for (const std::string& name : NamesInCertificate(givenCertificate->Current().certificate).names)
            if (!name.empty() && name != "localhost") hosts.push_back(name);
    }
    if (!IsEveryAddress(options.address)) {
        hosts.push_back(InUrl(options.address));
    } else {
        const Families families = options.address == kEveryIpv6 ? Families::Both : Families::Ipv4;
        for (const std::string& address : NetworkAddresses(families))
            hosts.push_back(InUrl(address));
    }
    if (hosts.empty()) hosts.emplace_back("127.0.0.1");
    std::vector<std::string> urls;
    for (const std::string& host : hosts)
        urls.push_back(fmt::format("https://{}:{}/", host, https->Port()));
    return urls;
}

void PhoneServer::OnTick() {
    hub->Tick();
    refusals.Tick(Clock::now());
    if (Clock::now() < nextLook) return;
    nextLook = Clock::now() + kLookPeriod;
    LookAround();
}

void PhoneServer::LookAround() {
    MachineNames now = NamesOfThisMachine();
    const bool renewed = HasRenewedCertificate();
    const bool changed = now != machine;
    if (!changed && !renewed && Clock::now() < nextCertificateCheck) return;
    nextCertificateCheck = Clock::now() + kCertificateCheckPeriod;
    std::string error;
    const std::optional<KeyAndCertificate> certificate = CertificateFor(now, error);
    if (!certificate) {
        spdlog::error("{} The certificate stays as it is.", error);
    } else if (!https->Replace({certificate->certificate, certificate->key})) {
        spdlog::error("The new certificate cannot be used; the old one stays.");
    }
    machine = std::move(now);
    if (changed || renewed) TellReachability();
}

// A file that cannot be used is told; the certificate of before stays.
bool PhoneServer::HasRenewedCertificate() {
    if (!givenCertificate) return false;
    std::string problem;
    const GivenCertificate::Found found = givenCertificate->Look(problem);
    if (found == GivenCertificate::Found::Unusable)
        spdlog::error("{} The certificate stays as it is.", problem);
    if (found == GivenCertificate::Found::Renewed) spdlog::info("the certificate has been renewed");
    return found == GivenCertificate::Found::Renewed;
}

void PhoneServer::TellReachability() {
    {
        const support::MutexLock lock(mutex);
        namesForRedirects = KnownNames();
    }
    const std::vector<std::string> before = hub->Reached().urls;
    hub->SetReachability({KnownNames(), Urls()});
    if (hub->Reached().urls == before) return;
    spdlog::info("phones come to {} from now on", hub->Reached().urls.front());
    PrintCode();
}

void PhoneServer::PrintStart() const {
    const std::string own = IsEveryAddress(options.address) ? "127.0.0.1" : InUrl(options.address);
    const ServerPlaces places{hub->Reached().urls, fmt::format("https://{}:{}/operator", own, https->Port()),
                              certificates ? FingerprintOf(certificates->Authority()) : std::string()};
    PrintEvent(ReadyEvent(places));
    if (options.events) PrintCode();
    if (options.quiet || options.events) return;
    std::cout << "Phones open this page:\n";
    for (const std::string& url : places.urls)
        std::cout << "  " << url << "\n";
    PrintCode();
    std::cout << "Operator's page: " << places.operatorPage << "\n"
              << "  (on other screens with ?operatorToken= and what is in " << operatorTokenFile << ")\n"
              << std::flush;
    if (!places.fingerprint.empty())
        std::cout << "Fingerprint of this machine's authority (SHA-256): " << places.fingerprint << "\n"
                  << std::flush;
}

void PhoneServer::PrintCode() const {
    PrintEvent(CodeEvent(hub->Code(), hub->PairingUrl()));
    if (options.quiet || options.events) return;
    std::cout << "Code for the next phone: " << hub->Code() << "  " << hub->PairingUrl() << "\n";
    if (isatty(STDOUT_FILENO) != 0) std::cout << QrAsTerminalText(hub->PairingUrl());
    std::cout << std::flush;
}

void PhoneServer::PrintEvent(const std::string& line) const {
    if (options.events) std::cout << line << std::flush;
}

}  // namespace petrel
