// Random texts and digests.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace petrel {

// From the system's cryptographic source, as base64url without padding. Empty when that source fails.
std::string RandomText(std::size_t bytes);

// Characters of `alphabet` (at most 256), each as likely as any other. Empty when the source fails.
std::string RandomOf(std::string_view alphabet, std::size_t count);

// A random identifier (RFC 4122 section 4.4). Empty when the source fails.
std::string RandomUuid();

// SHA-256 in lower-case hexadecimal.
std::string DigestOf(std::string_view text);

// Takes as long for texts that differ early as for those that differ late.
bool EqualsInConstantTime(std::string_view one, std::string_view other);

std::string Base64(std::string_view bytes);

}  // namespace petrel
