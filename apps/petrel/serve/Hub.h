// Everything that the server knows and decides: who may come in, which phones are open, and what each request
// gets. Lives on one thread; requests and messages are handed to it there.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "apps/petrel/ServiceAnnouncer.h"
#include "apps/petrel/serve/GuessLimiter.h"
#include "apps/petrel/serve/LivePhone.h"
#include "apps/petrel/serve/PairingCode.h"
#include "apps/petrel/serve/PhoneAddresses.h"
#include "apps/petrel/serve/PhoneBook.h"
#include "apps/petrel/serve/ThisMachine.h"
#include "web_server/HttpsServer.h"

namespace petrel {

struct HubSettings {
    std::string serverName;
    std::string operatorToken;
    std::string authority;                    // PEM; empty when the operator brought a certificate
    std::vector<std::string> phoneAddresses;  // empty: loopback ones
};

struct HubSurroundings {
    LivePhoneSurroundings live;
    std::function<std::int64_t()> calendarTime;  // seconds since 1970
    std::function<void(const AnnouncedPhone& phone)> announce;
    std::function<void(const std::string& address)> withdraw;
    std::function<void()> onNewCode;
    std::function<void(const std::string& address, const std::string& reason)> onRefused;  // a few words
};

// How the machine is reached at the moment.
struct Reachability {
    MachineNames machine;
    std::vector<std::string> urls;  // "https://192.0.2.1:9443/", the best one first
};

class Hub {
public:
    using Time = std::chrono::steady_clock::time_point;
    using Exchange = std::shared_ptr<web_server::HttpExchange>;

    // How much the body of a request for this path may have. [any-thread]
    static std::size_t BodyLimit(const std::string& path);

    Hub(HubSettings toUse, HubSurroundings toLiveIn, PhoneBook paired);
    ~Hub();
    Hub(const Hub&) = delete;
    Hub& operator=(const Hub&) = delete;

    void SetReachability(Reachability reached) { reachability = std::move(reached); }
    const Reachability& Reached() const { return reachability; }
    void OnRequest(const Exchange& exchange);
    void Tick();   // a few times a second: what is due
    void Close();  // tells all pages that the server ends, and closes all phones

    const std::string& Code() const { return code.Text(); }
    // With the code, for the QR code; empty when the machine has no address.
    std::string PairingUrl() const;

private:
    web_server::HttpAnswer AnswerTo(const web_server::HttpRequest& request);
    static web_server::HttpAnswer AnswerWithFile(const web_server::HttpRequest& request,
                                                 const std::string& path);
    web_server::HttpAnswer AnswerWithAuthority(const std::string& path) const;
    web_server::HttpAnswer AnswerForPhone(const web_server::HttpRequest& request, const PairedPhone& phone);

    // Pairing and the phones' own requests.
    web_server::HttpAnswer Pair(const web_server::HttpRequest& request);
    web_server::HttpAnswer PairAs(const std::string& name, const PairedPhone* known);
    web_server::HttpAnswer Me(const PairedPhone& phone) const;
    web_server::HttpAnswer Rename(const web_server::HttpRequest& request, const PairedPhone& phone);
    void TellName(const PairedPhone& phone);
    web_server::HttpAnswer Forget(const PairedPhone& phone);
    web_server::HttpAnswer TakeAnswer(const web_server::HttpRequest& request, LivePhone& live);
    web_server::HttpAnswer TakeCandidates(const web_server::HttpRequest& request, LivePhone& live,
                                          bool several);
    web_server::HttpAnswer Renew(const web_server::HttpRequest& request, LivePhone& live);
    web_server::HttpAnswer TakeState(const web_server::HttpRequest& request, const PairedPhone& phone);
    void OpenEvents(const Exchange& exchange, const PairedPhone& phone);
    std::string FreeName(const std::string& wanted, const std::string& identifier) const;

    // The operator.
    bool IsOperator(const web_server::HttpRequest& request) const;
    web_server::HttpAnswer AnswerOperator(const web_server::HttpRequest& request);
    web_server::HttpAnswer RevokeForOperator(const web_server::HttpRequest& request);
    std::string OperatorData() const;

    void TellRefusal(const web_server::HttpRequest& request, int status) const;
    void RefreshBook();
    void CloseRevoked();
    void CloseAbandoned();
    void CloseLive(const std::string& identifier, const char* event);
    void Touch(const std::vector<std::string>& identifiers);  // they were seen
    void TouchOpen();
    void NewCode();

    const HubSettings settings;
    const HubSurroundings surroundings;
    const PhoneAddresses addresses;
    PhoneBook book;
    Reachability reachability;
    PairingCode code;
    GuessLimiter limiter;
    Time nextTouch;
    TallyMemory tallies;
    std::map<std::string, std::shared_ptr<LivePhone>> live;  // by identifier
    std::map<std::string, std::string> states;               // JSON, by identifier
};

}  // namespace petrel
