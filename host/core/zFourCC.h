// Four-character codes: record keys, media types, pixel formats and trace kinds.
#pragma once

#include <cstdint>

using zFourCC = std::uint32_t;

// Read big-endian, the bytes of the code spell the text: FourCC("vido") is 0x7669646F.
constexpr zFourCC FourCC(const char (&text)[5]) {
    return (static_cast<zFourCC>(static_cast<unsigned char>(text[0])) << 24) |
           (static_cast<zFourCC>(static_cast<unsigned char>(text[1])) << 16) |
           (static_cast<zFourCC>(static_cast<unsigned char>(text[2])) << 8) |
           static_cast<zFourCC>(static_cast<unsigned char>(text[3]));
}
