#include "host_runtime/core/Printable.h"

#include <cstddef>
#include <cstdint>

namespace host_runtime {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

struct Character {
    std::size_t length = 0;  // 0: the first byte begins no well-formed character
    std::uint32_t code = 0;
};

// The character at the front of a text that is not empty.
Character FirstCharacter(std::string_view text) {
    const auto byteAt = [text](std::size_t index) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(text[index]));
    };
    const std::uint32_t lead = byteAt(0);
    if (lead < 0x80) return {1, lead};
    Character character;
    std::uint32_t smallest = 0;
    if (lead >= 0xC2 && lead < 0xE0) {
        character = {2, lead & 0x1F};
        smallest = 0x80;
    } else if (lead >= 0xE0 && lead < 0xF0) {
        character = {3, lead & 0x0F};
        smallest = 0x800;
    } else if (lead >= 0xF0 && lead < 0xF5) {
        character = {4, lead & 0x07};
        smallest = 0x10000;
    } else {
        return {};
    }
    if (text.size() < character.length) return {};
    for (std::size_t index = 1; index < character.length; ++index) {
        const std::uint32_t next = byteAt(index);
        if ((next & 0xC0) != 0x80) return {};
        character.code = (character.code << 6) | (next & 0x3F);
    }
    const bool surrogate = character.code >= 0xD800 && character.code <= 0xDFFF;
    if (character.code < smallest || character.code > 0x10FFFF || surrogate) return {};
    return character;
}

bool IsControl(std::uint32_t code) {
    return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

}  // namespace

std::string Printable(std::string_view text, LineFeeds lineFeeds) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const Character character = FirstCharacter(text);
        const bool keptLineFeed = lineFeeds == LineFeeds::Keep && character.code == '\n';
        if (character.length == 0) {
            result += kReplacement;
        } else if (IsControl(character.code) && !keptLineFeed) {
            result += ' ';
        } else {
            result += text.substr(0, character.length);
        }
        text.remove_prefix(character.length != 0 ? character.length : 1);
    }
    return result;
}

}  // namespace host_runtime
