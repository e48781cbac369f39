#pragma once

#include <string>
#include <string_view>

// The signalling URL of a phone: "ws://", the address, port 9001. A port in the address, and everything
// after it, is dropped; so is one slash at the end. Nothing else is checked or mended.
std::string DirectUrl(std::string_view address);
