#pragma once

#include <string>
#include <string_view>

// The URL that a session opens for an address. Only "ws://" counts as a scheme: any other
// address gets "wss://" in front, unless it is empty or its first byte, taken as a signed number, is 5 or
// less (control characters and every byte of 0x80 and above).
std::string SessionUrl(std::string_view address);
