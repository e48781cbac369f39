// Judges the first bytes of what a server says to a request for a WebSocket.
#pragma once

#include <cstddef>
#include <string_view>

namespace host_runtime {

inline constexpr std::size_t kJudgedBytes = 12;  // protocol and status code

// True as soon as no continuation could turn the bytes into an acceptance: they are not HTTP/1, or the
// status is another than 101. False while that is open, and for nothing at all.
bool IsRefusal(std::string_view firstBytes);

}  // namespace host_runtime
