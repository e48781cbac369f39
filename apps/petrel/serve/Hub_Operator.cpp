// What the operator's page gets, and the authority's certificate for phones.
#include <nlohmann/json.hpp>

#include "apps/petrel/serve/Certificates.h"
#include "apps/petrel/serve/Hub.h"
#include "apps/petrel/serve/JsonFields.h"
#include "apps/petrel/serve/QrPicture.h"
#include "apps/petrel/serve/RequestRules.h"
#include "apps/petrel/serve/Secrets.h"
#include "web_server/HttpText.h"

namespace petrel {

using nlohmann::json;
using web_server::HttpAnswer;
using web_server::HttpRequest;
using web_server::Refused;

bool Hub::IsOperator(const HttpRequest& request) const {
    if (request.fromThisMachine) return true;
    std::string token = request.QueryValue("operatorToken").value_or("");
    if (token.empty()) token = request.QueryValue("token").value_or("");
    return !settings.operatorToken.empty() && EqualsInConstantTime(token, settings.operatorToken);
}

HttpAnswer Hub::AnswerOperator(const HttpRequest& request) {
    if (!IsOperator(request))
        return Refused(403, "not-operator",
                       "This page is for the operator: open it on the server's own machine.");
    const bool isRead = request.method != "POST";
    if (request.path == "/operator" && isRead) return AnswerWithFile(request, request.path);
    if (request.path == "/api/operator/revoke" && !isRead) return RevokeForOperator(request);
    if (request.path == "/api/operator/code" && !isRead) {
        NewCode();
    } else if (request.path != "/api/operator" || !isRead) {
        return Refused(404, "not-found", "There is nothing here.");
    }
    HttpAnswer answer;
    answer.contentType = "application/json";
    answer.body = OperatorData();
    answer.fields.emplace_back("Cache-Control", "no-store");
    return answer;
}

HttpAnswer Hub::RevokeForOperator(const HttpRequest& request) {
    std::optional<JsonFields> fields = JsonFields::Read(request.body);
    const std::string identifier = fields ? fields->Text("identifier", 64) : std::string();
    const PairedPhone* const phone = book.WithIdentifier(identifier);
    if (phone == nullptr) return Refused(404, "no-such-phone", "There is no such phone.");
    HttpAnswer answer = Forget(PairedPhone(*phone));
    std::erase_if(answer.fields, [](const auto& field) { return field.first == "Set-Cookie"; });
    return answer;
}

std::string Hub::OperatorData() const {
    json phones = json::array();
    for (const PairedPhone& phone : book.Phones()) {
        json entry = {{"identifier", phone.identifier}, {"name", phone.name}, {"address", phone.address},
                      {"lastSeen", phone.lastSeen},     {"online", false},    {"onAir", false},
                      {"viewers", json::array()},       {"state", nullptr}};
        const auto found = live.find(phone.identifier);
        if (found != live.end()) {
            entry["online"] = found->second->IsOpen();
            for (const Viewer& viewer : found->second->Viewers()) {
                entry["viewers"].push_back(viewer.name);
                if (viewer.onAir) entry["onAir"] = true;
            }
        }
        const auto state = states.find(phone.identifier);
        if (state != states.end()) entry["state"] = json::parse(state->second, nullptr, false);
        phones.push_back(std::move(entry));
    }
    const json data = {
        {"server", settings.serverName},
        {"url", reachability.urls.empty() ? "" : reachability.urls.front()},
        {"urls", reachability.urls},
        {"pairUrl", PairingUrl()},
        {"code", code.Text()},
        {"expiresInSeconds", code.Left(surroundings.live.now()).count()},
        {"qrSvg", QrAsSvg(PairingUrl())},
        {"fingerprint", settings.authority.empty() ? "" : FingerprintOf(settings.authority)},
        {"phones", std::move(phones)},
    };
    return data.dump(-1, ' ', false, json::error_handler_t::replace);
}

}  // namespace petrel
