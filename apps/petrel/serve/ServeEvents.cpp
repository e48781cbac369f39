#include "apps/petrel/serve/ServeEvents.h"

#include <nlohmann/json.hpp>

#include "apps/petrel/serve/QrPicture.h"

namespace petrel {
namespace {

using nlohmann::json;

std::string Line(const json& event) {
    return event.dump(-1, ' ', false, json::error_handler_t::replace) + "\n";
}

}  // namespace

std::string ReadyEvent(const ServerPlaces& places) {
    return Line({{"event", "ready"},
                 {"urls", places.urls},
                 {"operatorPage", places.operatorPage},
                 {"fingerprint", places.fingerprint}});
}

std::string CodeEvent(const std::string& code, const std::string& pairingUrl) {
    return Line(
        {{"event", "code"}, {"code", code}, {"url", pairingUrl}, {"qr", QrAsTerminalText(pairingUrl)}});
}

std::string OpenedEvent(const AnnouncedPhone& phone) {
    return Line({{"event", "opened"},
                 {"identifier", phone.peersIdentifier},
                 {"name", phone.name},
                 {"address", phone.address},
                 {"port", phone.port}});
}

std::string ClosedEvent(const std::string& address) {
    return Line({{"event", "closed"}, {"address", address}});
}

std::string FailedEvent(const std::string& sentence) {
    return Line({{"event", "failed"}, {"sentence", sentence}});
}

}  // namespace petrel
