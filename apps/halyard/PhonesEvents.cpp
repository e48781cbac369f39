#include "apps/halyard/PhonesEvents.h"

#include <limits>
#include <nlohmann/json.hpp>

namespace halyard {
namespace {

using nlohmann::json;

std::string Text(const json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

std::uint16_t Port(const json& object) {
    const auto found = object.find("port");
    if (found == object.end() || !found->is_number_unsigned()) return 0;
    const auto number = found->get<std::uint64_t>();
    return number <= std::numeric_limits<std::uint16_t>::max() ? static_cast<std::uint16_t>(number)
                                                               : std::uint16_t{0};
}

ServerReady ReadReady(const json& object) {
    ServerReady ready{{}, Text(object, "operatorPage"), Text(object, "fingerprint")};
    const auto urls = object.find("urls");
    if (urls == object.end() || !urls->is_array()) return ready;
    for (const json& url : *urls)
        if (url.is_string()) ready.urls.push_back(url.get<std::string>());
    return ready;
}

PhonesEvent ReadOpened(const json& object) {
    const ServedPhone phone{Text(object, "identifier"), Text(object, "name"), Text(object, "address"),
                            Port(object)};
    if (phone.identifier.empty() || phone.address.empty() || phone.port == 0) return {};
    return PhoneOpened{phone};
}

}  // namespace

PhonesEvent ReadPhonesEvent(std::string_view line) {
    const json object = json::parse(line, nullptr, false);
    if (!object.is_object()) return {};
    const std::string event = Text(object, "event");
    if (event == "ready") return ReadReady(object);
    if (event == "code") return CodeShown{Text(object, "code"), Text(object, "url"), Text(object, "qr")};
    if (event == "opened") return ReadOpened(object);
    if (event == "closed") return PhoneClosed{Text(object, "address")};
    if (event == "failed") return ServerFailed{Text(object, "sentence")};
    return {};
}

}  // namespace halyard
