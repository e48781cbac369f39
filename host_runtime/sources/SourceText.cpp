#include "host_runtime/sources/SourceText.h"

#include "host_runtime/core/Printable.h"

namespace host_runtime {
namespace {

constexpr std::string_view kBlanks = " \t\r\n\v\f";
constexpr std::string_view kScheme = "ws://";

// Valid UTF-8 without control characters.
bool IsClean(std::string_view text) {
    return Printable(text, LineFeeds::Replace) == text;
}

}  // namespace

bool IsUsableIdentifier(std::string_view identifier) {
    if (identifier.empty() || identifier.find_first_of("\"\\") != std::string_view::npos) return false;
    return IsClean(identifier);
}

bool IsUsableHost(std::string_view host) {
    if (host.empty() || host.find_first_of(" :/[]\"\\") != std::string_view::npos) return false;
    return IsClean(host);
}

std::string_view TrimmedAddress(std::string_view address) {
    const std::size_t begin = address.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) return {};
    return address.substr(begin, address.find_last_not_of(kBlanks) - begin + 1);
}

std::string AddressKey(std::string_view address) {
    std::string_view host = TrimmedAddress(address);
    if (host.substr(0, kScheme.size()) == kScheme) host.remove_prefix(kScheme.size());
    return std::string(host.substr(0, host.find_first_of(":/")));
}

}  // namespace host_runtime
