#include "apps/petrel/serve/Hub.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <utility>

#include "apps/petrel/serve/Certificates.h"
#include "apps/petrel/serve/PageFiles.h"
#include "apps/petrel/serve/RequestRules.h"
#include "web_server/HttpText.h"

namespace petrel {
namespace {

using web_server::HttpAnswer;
using web_server::HttpRequest;
using web_server::Refused;

constexpr std::chrono::seconds kTouchPeriod{60};
constexpr std::size_t kBodyBytes = std::size_t{16} << 10;
constexpr std::size_t kDescriptionBytes = std::size_t{256} << 10;

bool IsRead(const HttpRequest& request) {
    return request.method == "GET" || request.method == "HEAD";
}

HttpAnswer WrongMethod(const char* allowed) {
    HttpAnswer answer = Refused(405, "wrong-method", "This is not asked for in that way.");
    answer.fields.emplace_back("Allow", allowed);
    return answer;
}

HttpAnswer NotFound() {
    return Refused(404, "not-found", "There is nothing here.");
}

// Requests that a page of another site makes are none of ours, whatever they carry.
bool ComesFromElsewhere(const HttpRequest& request) {
    const std::string_view site = request.Field("sec-fetch-site");
    return !site.empty() && site != "same-origin" && site != "none";
}

}  // namespace

std::size_t Hub::BodyLimit(const std::string& path) {
    return path == "/api/answer" ? kDescriptionBytes : kBodyBytes;
}

Hub::Hub(HubSettings toUse, HubSurroundings toLiveIn, PhoneBook paired)
    : settings(std::move(toUse)),
      surroundings(std::move(toLiveIn)),
      addresses(settings.phoneAddresses),
      book(std::move(paired)),
      code(surroundings.live.now()),
      nextTouch(surroundings.live.now() + kTouchPeriod) {
    std::string error;
    if (!book.Update([this](std::vector<PairedPhone>& phones) { addresses.Assign(phones); }, error))
        spdlog::warn(error);
}

Hub::~Hub() = default;

void Hub::OnRequest(const Exchange& exchange) {
    const HttpRequest& request = exchange->Request();
    std::optional<HttpAnswer> answer = RefusalByRules(request, reachability.machine);
    if (!answer && request.path == "/api/events" && request.method == "GET" && !ComesFromElsewhere(request)) {
        RefreshBook();
        if (const PairedPhone* const phone = book.WithSecret(SecretOf(request))) {
            OpenEvents(exchange, PairedPhone(*phone));
            return;
        }
    }
    if (!answer) answer = AnswerTo(request);
    TellRefusal(request, answer->status);
    exchange->Answer(std::move(*answer));
}

HttpAnswer Hub::AnswerTo(const HttpRequest& request) {
    const std::string& path = request.path;
    const bool isOperatorPath = path == "/operator" || path.starts_with("/api/operator");
    if (isOperatorPath) return AnswerOperator(request);
    if (path.starts_with("/authority."))
        return IsRead(request) ? AnswerWithAuthority(path) : WrongMethod("GET, HEAD");
    if (!path.starts_with("/api/"))
        return IsRead(request) ? AnswerWithFile(request, path) : WrongMethod("GET, HEAD");
    if (ComesFromElsewhere(request))
        return Refused(403, "wrong-origin", "Only this server's own page may ask for this.");
    if (path == "/api/pair") return request.method == "POST" ? Pair(request) : WrongMethod("POST");

    RefreshBook();
    const std::string secret = SecretOf(request);
    const PairedPhone* const phone = book.WithSecret(secret);
    if (phone != nullptr) return AnswerForPhone(request, PairedPhone(*phone));
    HttpAnswer refused = Refused(401, "not-paired", "This phone is not paired with this server.");
    if (!secret.empty()) refused.fields.emplace_back("Set-Cookie", ClearedSecretCookie());
    return refused;
}

HttpAnswer Hub::AnswerWithFile(const HttpRequest& request, const std::string& path) {
    const PageFile* const file = FindPageFile(path);
    if (file == nullptr) return NotFound();
    HttpAnswer answer;
    answer.fields.emplace_back("ETag", file->tag);
    answer.fields.emplace_back("Cache-Control", "no-cache");
    if (request.Field("if-none-match") == file->tag) {
        answer.status = 304;
        return answer;
    }
    answer.contentType = std::string(file->contentType);
    answer.body = std::string(file->content);
    return answer;
}

HttpAnswer Hub::AnswerWithAuthority(const std::string& path) const {
    HttpAnswer answer;
    if (settings.authority.empty()) return NotFound();
    if (path == "/authority.crt") {
        answer.contentType = "application/x-x509-ca-cert";
        answer.body = AsDer(settings.authority);
        answer.fields.emplace_back("Content-Disposition", "attachment; filename=\"petrel-authority.crt\"");
    } else if (path == "/authority.mobileconfig") {
        answer.contentType = "application/x-apple-aspen-config";
        answer.body = AsMobileConfig(settings.authority);
    } else {
        return NotFound();
    }
    answer.fields.emplace_back("Cache-Control", "no-cache");
    return answer;
}

HttpAnswer Hub::AnswerForPhone(const HttpRequest& request, const PairedPhone& phone) {
    const std::string& path = request.path;
    if (path == "/api/me") return IsRead(request) ? Me(phone) : WrongMethod("GET, HEAD");
    if (path == "/api/events") return WrongMethod("GET");
    const bool isKnown = path == "/api/name" || path == "/api/forget" || path == "/api/state" ||
                         path == "/api/answer" || path == "/api/candidate" || path == "/api/candidates" ||
                         path == "/api/renew";
    if (!isKnown) return NotFound();
    if (request.method != "POST") return WrongMethod("POST");
    const auto found = live.find(phone.identifier);
    if (found != live.end()) found->second->ShowLife();
    if (path == "/api/name") return Rename(request, phone);
    if (path == "/api/forget") return Forget(phone);
    if (path == "/api/state") return TakeState(request, phone);
    if (found == live.end()) return Refused(404, "no-such-viewer", "Nobody is watching this phone.");
    if (path == "/api/answer") return TakeAnswer(request, *found->second);
    if (path == "/api/renew") return Renew(request, *found->second);
    return TakeCandidates(request, *found->second, path == "/api/candidates");
}

void Hub::Tick() {
    RefreshBook();
    // A change of our own may have read what somebody else had just written.
    CloseRevoked();
    CloseAbandoned();
    TouchOpen();
    if (code.RenewWhenExpired(surroundings.live.now()) && surroundings.onNewCode) surroundings.onNewCode();
}

void Hub::Close() {
    while (!live.empty())
        CloseLive(std::string(live.begin()->first), "closing");
}

std::string Hub::PairingUrl() const {
    return reachability.urls.empty() ? std::string() : reachability.urls.front() + "#pair=" + code.Text();
}

// What a page asks for in good faith, and is refused, is not told: who it is, and hosts that have left.
void Hub::TellRefusal(const HttpRequest& request, int status) const {
    constexpr std::size_t kMostOfThePath = 60;
    const bool isSuspicious = status >= 400 && status != 404 && status != 409 && request.path != "/api/me";
    if (!isSuspicious || !surroundings.onRefused) return;
    surroundings.onRefused(request.remoteAddress, std::to_string(status) + " " + request.method + " " +
                                                      request.path.substr(0, kMostOfThePath));
}

void Hub::RefreshBook() {
    std::string error;
    if (book.Refresh(error)) CloseRevoked();
    if (!error.empty()) spdlog::error("{} What was known before goes on.", error);
}

void Hub::CloseRevoked() {
    std::vector<std::string> revoked;
    for (const auto& [identifier, phone] : live)
        if (book.WithIdentifier(identifier) == nullptr) revoked.push_back(identifier);
    for (const std::string& identifier : revoked) {
        spdlog::info("\"{}\" is revoked", live[identifier]->Identity().name);
        CloseLive(identifier, "revoked");
    }
}

void Hub::CloseAbandoned() {
    std::vector<std::string> abandoned;
    for (const auto& [identifier, phone] : live)
        if (phone->IsPastGrace(surroundings.live.now())) abandoned.push_back(identifier);
    for (const std::string& identifier : abandoned)
        CloseLive(identifier, nullptr);
}

void Hub::CloseLive(const std::string& identifier, const char* event) {
    const auto found = live.find(identifier);
    if (found == live.end()) return;
    const std::shared_ptr<LivePhone> phone = found->second;
    if (event != nullptr) phone->Dismiss(event);
    if (surroundings.withdraw) surroundings.withdraw(phone->Identity().address);
    live.erase(found);
    states.erase(identifier);
    Touch({identifier});
}

void Hub::Touch(const std::vector<std::string>& identifiers) {
    std::string error;
    const std::int64_t now = surroundings.calendarTime();
    const bool written = book.Update(
        [&identifiers, now](std::vector<PairedPhone>& phones) {
            for (PairedPhone& phone : phones) {
                if (std::find(identifiers.begin(), identifiers.end(), phone.identifier) != identifiers.end())
                    phone.lastSeen = now;
            }
        },
        error);
    if (!written) spdlog::warn(error);
}

void Hub::TouchOpen() {
    if (surroundings.live.now() < nextTouch) return;
    nextTouch = surroundings.live.now() + kTouchPeriod;
    std::vector<std::string> open;
    for (const auto& [identifier, phone] : live)
        if (phone->IsOpen()) open.push_back(identifier);
    if (!open.empty()) Touch(open);
}

void Hub::NewCode() {
    code.Renew(surroundings.live.now());
    if (surroundings.onNewCode) surroundings.onNewCode();
}

}  // namespace petrel
