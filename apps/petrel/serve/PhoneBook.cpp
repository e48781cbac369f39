#include "apps/petrel/serve/PhoneBook.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "apps/petrel/serve/Secrets.h"

namespace petrel {
namespace {

using nlohmann::json;

constexpr int kVersion = 1;
constexpr std::size_t kLongestName = 60;  // characters
constexpr const char* kLock = "phones.lock";
constexpr const char* kNameOfHosts = "Halyard";

std::optional<PairedPhone> ReadPhone(const json& object) {
    if (!object.is_object()) return std::nullopt;
    PairedPhone phone;
    const auto text = [&object](const char* key, std::string& into) {
        const auto found = object.find(key);
        if (found == object.end() || !found->is_string()) return false;
        into = found->get<std::string>();
        return true;
    };
    const auto number = [&object](const char* key, std::int64_t& into) {
        const auto found = object.find(key);
        if (found == object.end() || !found->is_number_integer()) return false;
        into = found->get<std::int64_t>();
        return true;
    };
    if (!text("identifier", phone.identifier) || !text("name", phone.name) ||
        !text("address", phone.address) || !text("secretDigest", phone.secretDigest) ||
        !number("pairedAt", phone.pairedAt) || !number("lastSeen", phone.lastSeen) ||
        phone.identifier.empty() || phone.secretDigest.empty()) {
        return std::nullopt;
    }
    return phone;
}

// The code point that begins at `at`, which moves on; nothing when the text is not UTF-8 (RFC 3629).
std::optional<std::uint32_t> NextCharacter(const std::string& text, std::size_t& at) {
    const auto byte = [&text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char first = byte(at++);
    if (first < 0x80) return first;
    const int more = first >= 0xC2 && first < 0xE0   ? 1
                     : (first & 0xF0) == 0xE0        ? 2
                     : first >= 0xF0 && first < 0xF5 ? 3
                                                     : 0;
    if (more == 0) return std::nullopt;
    std::uint32_t value = first & (0x3FU >> more);
    for (int i = 0; i < more; ++i) {
        if (at >= text.size() || (byte(at) & 0xC0) != 0x80) return std::nullopt;
        value = value << 6 | (byte(at++) & 0x3FU);
    }
    constexpr std::uint32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    if (value < kSmallest[more] || (value >= 0xD800 && value < 0xE000) || value > 0x10FFFF)
        return std::nullopt;
    return value;
}

// Also what turns the writing direction or ends lines: names stand in logs and in other people's windows.
bool IsControl(std::uint32_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0) || character == 0x2028 ||
           character == 0x2029 || (character >= 0x202A && character <= 0x202E) ||
           (character >= 0x2066 && character <= 0x2069) || character == 0xFEFF;
}

}  // namespace

std::string ProblemOfName(const std::string& name) {
    std::size_t characters = 0;
    bool onlyBlanks = true;
    for (std::size_t at = 0; at < name.size(); ++characters) {
        const std::optional<std::uint32_t> character = NextCharacter(name, at);
        if (!character || IsControl(*character)) return "The name has characters that cannot be shown.";
        onlyBlanks = onlyBlanks && *character == ' ';
    }
    if (onlyBlanks) return "The phone needs a name.";
    if (characters > kLongestName) return "The name is longer than 60 characters.";
    if (name == kNameOfHosts) return "The name \"Halyard\" belongs to the hosts.";
    return {};
}

std::optional<std::vector<PairedPhone>> ReadPhones(const std::string& text, std::string& error) {
    const json object = json::parse(text, nullptr, false);
    if (!object.is_object() || !object.contains("version") || !object.contains("phones") ||
        !object["phones"].is_array()) {
        error = "it is damaged";
        return std::nullopt;
    }
    if (object["version"] != kVersion) {
        error = "another version of petrel wrote it";
        return std::nullopt;
    }
    std::vector<PairedPhone> phones;
    for (const json& entry : object["phones"]) {
        std::optional<PairedPhone> phone = ReadPhone(entry);
        if (!phone) {
            error = "it is damaged";
            return std::nullopt;
        }
        phones.push_back(std::move(*phone));
    }
    return phones;
}

std::string WritePhones(const std::vector<PairedPhone>& phones) {
    json entries = json::array();
    for (const PairedPhone& phone : phones) {
        entries.push_back({{"identifier", phone.identifier},
                           {"name", phone.name},
                           {"address", phone.address},
                           {"secretDigest", phone.secretDigest},
                           {"pairedAt", phone.pairedAt},
                           {"lastSeen", phone.lastSeen}});
    }
    const json object = {{"version", kVersion}, {"phones", std::move(entries)}};
    return object.dump(2, ' ', false, json::error_handler_t::replace) + "\n";
}

std::optional<PhoneBook> PhoneBook::Open(const StateFolder& folder, std::string& error) {
    PhoneBook book(folder);
    if (!book.Load(error)) return std::nullopt;
    return book;
}

const PairedPhone* PhoneBook::WithIdentifier(const std::string& identifier) const {
    const auto found = std::find_if(phones.begin(), phones.end(), [&identifier](const PairedPhone& phone) {
        return phone.identifier == identifier;
    });
    return found == phones.end() ? nullptr : &*found;
}

const PairedPhone* PhoneBook::WithSecret(const std::string& secret) const {
    if (secret.empty()) return nullptr;
    const std::string digest = DigestOf(secret);
    const auto found = std::find_if(phones.begin(), phones.end(), [&digest](const PairedPhone& phone) {
        return EqualsInConstantTime(phone.secretDigest, digest);
    });
    return found == phones.end() ? nullptr : &*found;
}

bool PhoneBook::Update(const Change& change, std::string& error) {
    const std::shared_ptr<void> lock = folder.Lock(kLock, StateFolder::Patience::Waits);
    if (lock == nullptr) {
        error = fmt::format("{} cannot be written.", folder.PathOf(kLock).string());
        return false;
    }
    if (StampOfFile() != stamp && !Load(error)) return false;
    std::vector<PairedPhone> changed = phones;
    change(changed);
    if (changed == phones) return true;
    if (!folder.Write(kFile, WritePhones(changed), FileAccess::OwnerOnly, error)) return false;
    phones = std::move(changed);
    stamp = StampOfFile();
    return true;
}

bool PhoneBook::Refresh(std::string& error) {
    const Stamp now = StampOfFile();
    if (now == stamp) return false;
    const bool loaded = Load(error);
    stamp = now;  // of a damaged one, too: it is complained about once
    return loaded;
}

bool PhoneBook::Load(std::string& error) {
    const Stamp before = StampOfFile();
    std::string problem;
    const std::optional<std::string> text = folder.Read(kFile, problem);
    std::optional<std::vector<PairedPhone>> read;
    if (text) {
        read = ReadPhones(*text, problem);
        if (!read) problem = fmt::format("{} cannot be used: {}.", folder.PathOf(kFile).string(), problem);
    } else if (problem.empty()) {
        read.emplace();
    }
    if (!read) {
        error = problem;
        return false;
    }
    phones = std::move(*read);
    stamp = before;
    return true;
}

PhoneBook::Stamp PhoneBook::StampOfFile() const {
    struct stat status {};
    if (stat(folder.PathOf(kFile).c_str(), &status) != 0) return {};
    return {status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

}  // namespace petrel
