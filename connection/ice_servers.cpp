#include "connection/ice_servers.h"

#include <exception>
#include <nlohmann/json.hpp>

std::vector<IceServerEntry> ParseIceServers(const std::string& text) {
    try {
        std::vector<IceServerEntry> entries;
        const nlohmann::json list = nlohmann::json::parse(text);
        for (const nlohmann::json& element : list) {
            entries.push_back({element.value("url", std::string()),
                               element.value("turnUsername", std::string()),
                               element.value("turnPassword", std::string())});
        }
        return entries;
    } catch (const std::exception&) {
        return {{kFallbackStunUrl, std::string(), std::string()}};
    }
}
