// Checks and repairs of foreign text.
#pragma once

#include <string>
#include <string_view>

namespace host_runtime {

// Well-formed UTF-8 as of RFC 3629: no overlong forms, no surrogates, nothing above U+10FFFF.
bool IsValidUtf8(std::string_view text);

// U+0000 to U+001F and U+007F to U+009F occur in the (valid UTF-8) text.
bool HasControlCharacters(std::string_view text);

enum class LineFeeds { Keep, Replace };

// Valid UTF-8 without control characters: each malformed byte becomes U+FFFD, each control character a
// blank. Line feeds may stay.
std::string Printable(std::string_view text, LineFeeds lineFeeds);

}  // namespace host_runtime
