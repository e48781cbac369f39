// What every request must keep to before anybody looks at what it wants.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "apps/petrel/serve/ThisMachine.h"
#include "web_server/HttpTypes.h"

namespace petrel {

// The refusal of a request that is not for this machine, changes something for another site's page, or is not
// JSON where JSON belongs; nothing when it may go on.
std::optional<web_server::HttpAnswer> RefusalByRules(const web_server::HttpRequest& request,
                                                     const MachineNames& machine);

// Of all answers: nothing from elsewhere is loaded, and nobody else frames the page.
const web_server::HttpFields& SecurityFields();

// What the browser of a phone shows to be recognised; empty when it shows nothing.
std::string SecretOf(const web_server::HttpRequest& request);
std::string SecretCookie(const std::string& secret);
std::string ClearedSecretCookie();

// 1 to 64 letters, digits and hyphens.
bool IsTabIdentifier(std::string_view text);

}  // namespace petrel
