#include "mdns/NetworkInterfaces.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

#include <cstdint>
#include <memory>

namespace mdns {
namespace {

constexpr std::uint32_t kLoopbackNet = 127;

using AddressList = std::unique_ptr<ifaddrs, decltype(&freeifaddrs)>;

AddressList AllAddresses() {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) first = nullptr;
    return {first, freeifaddrs};
}

bool Has(const ifaddrs& entry, const in_addr& wanted) {
    if (entry.ifa_addr == nullptr || entry.ifa_addr->sa_family != AF_INET) return false;
    return reinterpret_cast<const sockaddr_in*>(entry.ifa_addr)->sin_addr.s_addr == wanted.s_addr;
}

bool IsLoopback(const ifaddrs& entry) {
    return (entry.ifa_flags & IFF_LOOPBACK) != 0;
}

}  // namespace

std::optional<int> InterfaceOf(const std::string& ipv4Address) {
    in_addr wanted{};
    if (inet_pton(AF_INET, ipv4Address.c_str(), &wanted) != 1) return std::nullopt;
    const bool loopback = IsLoopbackAddress(ipv4Address);
    const AddressList all = AllAddresses();
    for (const ifaddrs* entry = all.get(); entry != nullptr; entry = entry->ifa_next) {
        if (loopback ? IsLoopback(*entry) : Has(*entry, wanted))
            return static_cast<int>(if_nametoindex(entry->ifa_name));
    }
    return std::nullopt;
}

bool IsLoopbackInterface(int interfaceNumber) {
    char name[IF_NAMESIZE] = {};
    if (if_indextoname(static_cast<unsigned>(interfaceNumber), name) == nullptr) return false;
    const AddressList all = AllAddresses();
    for (const ifaddrs* entry = all.get(); entry != nullptr; entry = entry->ifa_next) {
        if (std::string(entry->ifa_name) == name) return IsLoopback(*entry);
    }
    return false;
}

bool IsLoopbackAddress(const std::string& ipv4Address) {
    in_addr address{};
    return inet_pton(AF_INET, ipv4Address.c_str(), &address) == 1 &&
           ntohl(address.s_addr) >> 24 == kLoopbackNet;
}

}  // namespace mdns
