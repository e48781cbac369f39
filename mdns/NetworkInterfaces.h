// This machine's network interfaces, by the numbers that the system gives them.
#pragma once

#include <optional>
#include <string>

namespace mdns {

// [any-thread] The interface that has this IPv4 address; for any address of 127.0.0.0/8 the loopback one.
std::optional<int> InterfaceOf(const std::string& ipv4Address);

// [any-thread]
bool IsLoopbackInterface(int interfaceNumber);

// [any-thread] False too for a text that is no IPv4 address.
bool IsLoopbackAddress(const std::string& ipv4Address);

}  // namespace mdns
