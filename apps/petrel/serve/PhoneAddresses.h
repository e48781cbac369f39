// Which address each phone gets: hosts reach every phone on the same port, so no two share one.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/petrel/serve/PhoneBook.h"

namespace petrel {

class PhoneAddresses {
public:
    // `allowed` empty: the loopback addresses 127.0.1.1 to 127.0.1.254.
    explicit PhoneAddresses(std::vector<std::string> allowed);

    // The first one that no phone has; nothing when all are taken.
    std::optional<std::string> FirstFree(const std::vector<PairedPhone>& phones) const;

    // Gives those whose address is none of ours, or another phone's, one that is. Those that get none,
    // because there are more phones than addresses, have an empty address afterwards.
    void Assign(std::vector<PairedPhone>& phones) const;

    std::size_t Count() const { return addresses.size(); }

private:
    std::vector<std::string> addresses;
};

}  // namespace petrel
