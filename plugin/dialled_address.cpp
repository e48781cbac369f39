#include "plugin/dialled_address.h"

std::optional<std::string> DialledAddress(const std::string& sourceIdentifier,
                                          const std::string& settingsAddress,
                                          const std::map<std::string, std::string>& directAddresses) {
    if (settingsAddress.empty()) return std::nullopt;
    const auto direct = directAddresses.find(sourceIdentifier);
    return direct != directAddresses.end() ? direct->second : settingsAddress;
}
