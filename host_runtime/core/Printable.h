// Foreign text made fit for terminals and logs.
#pragma once

#include <string>
#include <string_view>

namespace host_runtime {

enum class LineFeeds { Keep, Replace };

// Well-formed UTF-8 (RFC 3629) without control characters (U+0000 to U+001F, U+007F to U+009F): each
// malformed byte becomes U+FFFD, each control character a blank. Line feeds may stay.
std::string Printable(std::string_view text, LineFeeds lineFeeds);

}  // namespace host_runtime
