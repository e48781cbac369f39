#include "apps/petrel/serve/Secrets.h"

#include <fmt/format.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <openssl/sha.h>

#include <array>
#include <vector>

namespace petrel {
namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";

bool Fill(std::vector<unsigned char>& bytes) {
    return RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) == 1;
}

std::string Hex(const unsigned char* bytes, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text.push_back(kHexDigits[bytes[i] >> 4]);
        text.push_back(kHexDigits[bytes[i] & 0xF]);
    }
    return text;
}

}  // namespace

std::string Base64(std::string_view bytes) {
    std::vector<unsigned char> encoded(4 * ((bytes.size() + 2) / 3) + 1);
    const int length = EVP_EncodeBlock(encoded.data(), reinterpret_cast<const unsigned char*>(bytes.data()),
                                       static_cast<int>(bytes.size()));
    return {reinterpret_cast<const char*>(encoded.data()), static_cast<std::size_t>(length)};
}

std::string RandomText(std::size_t bytes) {
    std::vector<unsigned char> random(bytes);
    if (!Fill(random)) return {};
    std::string text = Base64({reinterpret_cast<const char*>(random.data()), random.size()});
    while (!text.empty() && text.back() == '=')
        text.pop_back();
    for (char& c : text) {
        if (c == '+') c = '-';
        if (c == '/') c = '_';
    }
    return text;
}

std::string RandomOf(std::string_view alphabet, std::size_t count) {
    std::string text;
    // Numbers beyond the last whole multiple would favour the first characters.
    const std::size_t usable = 256 - 256 % alphabet.size();
    std::vector<unsigned char> random(1);
    while (text.size() < count) {
        if (!Fill(random)) return {};
        if (random[0] < usable) text.push_back(alphabet[random[0] % alphabet.size()]);
    }
    return text;
}

std::string RandomUuid() {
    std::vector<unsigned char> random(16);
    if (!Fill(random)) return {};
    random[6] = static_cast<unsigned char>((random[6] & 0x0F) | 0x40);
    random[8] = static_cast<unsigned char>((random[8] & 0x3F) | 0x80);
    const std::string digits = Hex(random.data(), random.size());
    return fmt::format("{}-{}-{}-{}-{}", digits.substr(0, 8), digits.substr(8, 4), digits.substr(12, 4),
                       digits.substr(16, 4), digits.substr(20));
}

std::string DigestOf(std::string_view text) {
    std::array<unsigned char, SHA256_DIGEST_LENGTH> digest{};
    SHA256(reinterpret_cast<const unsigned char*>(text.data()), text.size(), digest.data());
    return Hex(digest.data(), digest.size());
}

bool EqualsInConstantTime(std::string_view one, std::string_view other) {
    return one.size() == other.size() && CRYPTO_memcmp(one.data(), other.data(), one.size()) == 0;
}

}  // namespace petrel
