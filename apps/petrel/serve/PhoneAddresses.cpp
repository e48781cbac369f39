#include "apps/petrel/serve/PhoneAddresses.h"

#include <algorithm>
#include <set>
#include <utility>

namespace petrel {
namespace {

constexpr int kLoopbackAddresses = 254;

}  // namespace

PhoneAddresses::PhoneAddresses(std::vector<std::string> allowed) : addresses(std::move(allowed)) {
    if (!addresses.empty()) return;
    for (int last = 1; last <= kLoopbackAddresses; ++last)
        addresses.push_back("127.0.1." + std::to_string(last));
}

std::optional<std::string> PhoneAddresses::FirstFree(const std::vector<PairedPhone>& phones) const {
    for (const std::string& address : addresses) {
        const bool taken = std::any_of(phones.begin(), phones.end(), [&address](const PairedPhone& phone) {
            return phone.address == address;
        });
        if (!taken) return address;
    }
    return std::nullopt;
}

void PhoneAddresses::Assign(std::vector<PairedPhone>& phones) const {
    std::set<std::string> free(addresses.begin(), addresses.end());
    std::vector<PairedPhone*> without;
    for (PairedPhone& phone : phones) {
        if (free.erase(phone.address) == 1) continue;
        phone.address.clear();
        without.push_back(&phone);
    }
    for (PairedPhone* const phone : without)
        phone->address = FirstFree(phones).value_or(std::string());
}

}  // namespace petrel
