// What an HTTP server takes and gives.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace web_server {

using HttpFields = std::vector<std::pair<std::string, std::string>>;

struct HttpRequest {
    std::string method;
    std::string path;   // as it was sent, up to the '?'
    std::string query;  // after it
    std::string body;
    HttpFields fields;          // names in lower case
    std::string remoteAddress;  // of the client, without port
    bool fromThisMachine = false;

    // Empty when there is none.
    std::string_view Field(std::string_view lowerCaseName) const;
    std::optional<std::string> QueryValue(std::string_view name) const;
};

struct HttpAnswer {
    int status = 200;
    std::string contentType;  // may be empty when the body is
    std::string body;
    HttpFields fields;  // besides Content-Type, Content-Length and Connection
};

// Reads percent-encoding; nothing when it is malformed.
std::optional<std::string> DecodePercent(std::string_view text);

}  // namespace web_server
