// Rules for the texts that name sources and phones.
#pragma once

#include <string>
#include <string_view>

namespace host_runtime {

// An identifier goes into messages unescaped: it is not empty, valid UTF-8, and free of quotes, backslashes
// and control characters.
bool IsUsableIdentifier(std::string_view identifier);

// A host that a phone can be dialled at: a name or an IPv4 literal, never empty and no IPv6 literal.
bool IsUsableHost(std::string_view host);

// Without blanks at its ends.
std::string_view TrimmedAddress(std::string_view address);

// Two addresses are the same phone when their keys are equal: scheme, port and path do not count, since
// every phone answers at the same port.
std::string AddressKey(std::string_view address);

}  // namespace host_runtime
