#include "host_runtime/network/HandshakeAnswer.h"

#include <algorithm>

namespace host_runtime {

bool IsRefusal(std::string_view firstBytes) {
    constexpr std::string_view kAcceptance = "HTTP/1.1 101";
    static_assert(kAcceptance.size() == kJudgedBytes);
    const std::size_t length = std::min(firstBytes.size(), kAcceptance.size());
    return firstBytes.substr(0, length) != kAcceptance.substr(0, length);
}

}  // namespace host_runtime
