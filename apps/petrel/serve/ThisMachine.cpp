#include "apps/petrel/serve/ThisMachine.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>

#include "support/scope_guard.h"

namespace petrel {
namespace {

std::string LowerCase(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
    return lower;
}

std::string TextOf(const sockaddr& address) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (address.sa_family == AF_INET) {
        const auto& v4 = reinterpret_cast<const sockaddr_in&>(address);
        inet_ntop(AF_INET, &v4.sin_addr, text.data(), text.size());
    } else if (address.sa_family == AF_INET6) {
        const auto& v6 = reinterpret_cast<const sockaddr_in6&>(address);
        // A link-local one needs a zone, which no browser takes.
        if (!IN6_IS_ADDR_LINKLOCAL(&v6.sin6_addr))
            inet_ntop(AF_INET6, &v6.sin6_addr, text.data(), text.size());
    }
    return text.data();
}

void ForEachAddress(const std::function<void(const ifaddrs& entry, std::string address)>& visit) {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) return;
    const support::ScopeGuard freeing([first] { freeifaddrs(first); });
    for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || (entry->ifa_flags & IFF_UP) == 0) continue;
        std::string address = TextOf(*entry->ifa_addr);
        if (!address.empty()) visit(*entry, std::move(address));
    }
}

// The address that the system would use towards other networks. Nothing is sent for it.
std::string PreferredAddress() {
    const int made = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (made < 0) return {};
    const support::ScopeGuard closing([made] { close(made); });
    sockaddr_in far{};
    far.sin_family = AF_INET;
    far.sin_port = htons(9);
    inet_pton(AF_INET, "192.0.2.1", &far.sin_addr);  // nobody's (RFC 5737)
    sockaddr_storage own{};
    socklen_t size = sizeof own;
    if (connect(made, reinterpret_cast<const sockaddr*>(&far), sizeof far) != 0 ||
        getsockname(made, reinterpret_cast<sockaddr*>(&own), &size) != 0) {
        return {};
    }
    return TextOf(reinterpret_cast<const sockaddr&>(own));
}

bool LooksLikeHostName(std::string_view name) {
    return !name.empty() && name.size() <= 253 && std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.' || c == '_';
    });
}

}  // namespace

MachineNames NamesOfThisMachine() {
    MachineNames machine;
    machine.addresses = {"127.0.0.1", "::1"};
    ForEachAddress(
        [&machine](const ifaddrs&, std::string address) { machine.addresses.push_back(std::move(address)); });
    std::sort(machine.addresses.begin(), machine.addresses.end());
    machine.addresses.erase(std::unique(machine.addresses.begin(), machine.addresses.end()),
                            machine.addresses.end());
    machine.names = {"localhost"};
    std::array<char, HOST_NAME_MAX + 1> text{};
    gethostname(text.data(), text.size() - 1);
    const std::string host = LowerCase(text.data());
    if (LooksLikeHostName(host) && host != "localhost") {
        machine.names.push_back(host);
        // Multicast DNS knows the machine by the first label of its name.
        machine.names.push_back(host.substr(0, host.find('.')) + ".local");
    }
    return machine;
}

std::vector<std::string> NetworkAddresses(Families families) {
    std::vector<std::string> found;
    std::vector<std::string> foundIpv6;
    ForEachAddress([&found, &foundIpv6](const ifaddrs& entry, std::string address) {
        if ((entry.ifa_flags & IFF_LOOPBACK) != 0) return;
        (entry.ifa_addr->sa_family == AF_INET ? found : foundIpv6).push_back(std::move(address));
    });
    const auto preferred = std::find(found.begin(), found.end(), PreferredAddress());
    if (preferred != found.end()) std::rotate(found.begin(), preferred, preferred + 1);
    if (families == Families::Both) found.insert(found.end(), foundIpv6.begin(), foundIpv6.end());
    return found;
}

std::string ProblemOfOwnAddress(const std::string& ipv4Address) {
    const int made = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (made < 0) return {};
    const support::ScopeGuard closing([made] { close(made); });
    sockaddr_in own{};
    own.sin_family = AF_INET;
    inet_pton(AF_INET, ipv4Address.c_str(), &own.sin_addr);
    if (bind(made, reinterpret_cast<const sockaddr*>(&own), sizeof own) == 0) return {};
    return "The address " + ipv4Address + " cannot be used: " + std::strerror(errno) + ".";
}

std::string HostOf(std::string_view hostAndPort) {
    std::string_view host = hostAndPort;
    std::string_view port;
    if (host.starts_with('[')) {
        const std::size_t end = host.find(']');
        if (end == std::string_view::npos) return {};
        port = host.substr(end + 1);
        const std::string inner(host.substr(1, end - 1));
        in6_addr parsed{};
        if (inet_pton(AF_INET6, inner.c_str(), &parsed) != 1) return {};
        if (!port.empty() && port.front() != ':') return {};
        std::array<char, INET6_ADDRSTRLEN> text{};
        inet_ntop(AF_INET6, &parsed, text.data(), text.size());
        return text.data();
    }
    const std::size_t colon = host.find(':');
    if (colon != std::string_view::npos) {
        port = host.substr(colon + 1);
        host = host.substr(0, colon);
    }
    if (!std::all_of(port.begin(), port.end(), [](char c) { return c >= '0' && c <= '9'; })) return {};
    std::string name = LowerCase(host);
    if (name.size() > 1 && name.back() == '.') name.pop_back();
    return LooksLikeHostName(name) ? name : std::string();
}

std::string InUrl(const std::string& address) {
    return address.find(':') == std::string::npos ? address : "[" + address + "]";
}

bool IsNameOfMachine(const MachineNames& machine, std::string_view hostAndPort) {
    const std::string host = HostOf(hostAndPort);
    const auto has = [&host](const std::vector<std::string>& list) {
        return std::find(list.begin(), list.end(), host) != list.end();
    };
    return !host.empty() && (has(machine.addresses) || has(machine.names));
}

}  // namespace petrel
