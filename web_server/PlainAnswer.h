#pragma once

#include <string>
#include <string_view>

namespace web_server {

enum class Refusal { BadRequest, NotFound, UpgradeRequired };

// The whole HTTP answer to a request that does not become a WebSocket; the connection ends after it.
std::string PlainAnswer(Refusal refusal);

// True when the target of a request asks for this path, with any query.
bool AsksForPath(std::string_view target, std::string_view path);

}  // namespace web_server
