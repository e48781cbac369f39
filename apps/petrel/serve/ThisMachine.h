// What this machine is called in the network.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace petrel {

struct MachineNames {
    std::vector<std::string> addresses;  // all that a browser can use, loopback ones too; sorted
    std::vector<std::string> names;      // "localhost", the host's name, and that with ".local"

    friend bool operator==(const MachineNames&, const MachineNames&) = default;
};

MachineNames NamesOfThisMachine();

enum class Families { Ipv4, Both };

// The addresses under which phones in the network reach this machine: those of IPv4 first, and of them the
// one that leads to other networks. Empty when there are none.
std::vector<std::string> NetworkAddresses(Families families);

// Why this IPv4 address cannot be listened on, in a sentence; empty when it can.
std::string ProblemOfOwnAddress(const std::string& ipv4Address);

// Host name or address out of "name:port", "192.0.2.1:port", "[2001:db8::1]:port", in lower case, without
// brackets and closing dot. Empty when it is none of these.
std::string HostOf(std::string_view hostAndPort);

// In the form that addresses have in a URL.
std::string InUrl(const std::string& address);

// Whether a request for this host means us: nobody else's name may be made to point here (DNS rebinding).
bool IsNameOfMachine(const MachineNames& machine, std::string_view hostAndPort);

}  // namespace petrel
