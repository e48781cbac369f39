// The end of a UTF-8 text (RFC 3629).
#pragma once

#include <string_view>

namespace host_runtime {

// True when the last letter of an otherwise valid text lacks bytes.
bool EndsInsideALetter(std::string_view text);

}  // namespace host_runtime
