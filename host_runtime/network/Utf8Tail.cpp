#include "host_runtime/network/Utf8Tail.h"

#include <algorithm>

namespace host_runtime {

bool EndsInsideALetter(std::string_view text) {
    constexpr std::size_t kLongestLetter = 4;
    const std::size_t most = std::min(text.size(), kLongestLetter);
    for (std::size_t behind = 1; behind <= most; ++behind) {
        const auto byte = static_cast<unsigned char>(text[text.size() - behind]);
        if ((byte & 0xC0) == 0x80) continue;  // not the first byte of a letter
        const std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
        return behind < length;
    }
    return false;
}

}  // namespace host_runtime
