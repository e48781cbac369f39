#include "apps/petrel/AnnouncedNames.h"

#include <algorithm>
#include <cstddef>

namespace petrel {

std::string ServiceNameOf(const std::string& userName) {
    constexpr std::size_t kLongestLabel = 63;
    if (userName.size() <= kLongestLabel) return userName;
    std::size_t end = kLongestLabel;
    const auto continuesCharacter = [&userName](std::size_t at) {
        return (static_cast<unsigned char>(userName[at]) & 0xC0U) == 0x80U;
    };
    while (end > 0 && continuesCharacter(end))
        --end;
    return userName.substr(0, end);
}

std::string HostNameOf(const std::string& ipv4Address) {
    std::string numbers = ipv4Address;
    std::replace(numbers.begin(), numbers.end(), '.', '-');
    return "petrel-" + numbers;
}

}  // namespace petrel
