#pragma once

#include <map>
#include <optional>
#include <string>

// The address to dial for a source: that of its settings, or the one that stands for the source in
// `directAddresses`, which wins. Nothing when the settings have none, whatever stands there.
std::optional<std::string> DialledAddress(const std::string& sourceIdentifier,
                                          const std::string& settingsAddress,
                                          const std::map<std::string, std::string>& directAddresses);
