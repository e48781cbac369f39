#pragma once

#include <string>

#include "host/renderer/nxSourceDescription.h"

inline constexpr const char* kSourceTypeIdentifier = "8194E1DE-8A84-4714-9866-9605C4807817";
inline constexpr std::uint32_t kSourceKind = 3;
inline constexpr std::uint32_t kSourceCategory = 4;

// The localised name of this kind of source.
std::string SourceTypeName();

nxSourceDescription DescribeSource(std::string identifier, std::string displayName);
