#include "apps/petrel/serve/PhonesCommand.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <ctime>
#include <iostream>
#include <optional>

namespace petrel {
namespace {

constexpr int kNoSuchPhone = 1;
constexpr int kCannotUseState = 2;

std::optional<PhoneBook> OpenBook(const std::filesystem::path& state) {
    std::string error;
    const std::optional<StateFolder> folder =
        StateFolder::Open(state.empty() ? DefaultStateFolder() : state, error);
    std::optional<PhoneBook> book = folder ? PhoneBook::Open(*folder, error) : std::nullopt;
    if (!book) std::cerr << error << "\n";
    return book;
}

std::size_t CharactersOf(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

std::string Padded(const std::string& text, std::size_t width) {
    const std::size_t characters = CharactersOf(text);
    return text + std::string(width > characters ? width - characters : 0, ' ');
}

std::string WhenSeen(std::int64_t seen, std::int64_t now) {
    constexpr std::int64_t kMinute = 60;
    if (seen > now - 2 * kMinute && seen <= now) return "just now";
    return fmt::format("{:%Y-%m-%d %H:%M}", fmt::localtime(static_cast<std::time_t>(seen)));
}

}  // namespace

std::string PhoneList(const std::vector<PairedPhone>& phones, std::int64_t now) {
    if (phones.empty()) return "No phone is paired.\n";
    std::size_t longest = 0;
    for (const PairedPhone& phone : phones)
        longest = std::max(longest, CharactersOf(phone.name));
    std::string list;
    for (const PairedPhone& phone : phones) {
        list += fmt::format("{}  {}  {:<15}  {}\n", Padded(phone.name, longest), phone.identifier,
                            phone.address.empty() ? "-" : phone.address, WhenSeen(phone.lastSeen, now));
    }
    return list;
}

int ListPhones(const PhonesOptions& options) {
    const std::optional<PhoneBook> book = OpenBook(options.state);
    if (!book) return kCannotUseState;
    std::cout << PhoneList(book->Phones(), std::time(nullptr));
    return 0;
}

int RevokePhone(const RevokeOptions& options) {
    std::optional<PhoneBook> book = OpenBook(options.state);
    if (!book) return kCannotUseState;
    std::size_t revoked = 0;
    std::string error;
    const bool written = book->Update(
        [&options, &revoked](std::vector<PairedPhone>& phones) {
            revoked = std::erase_if(phones, [&options](const PairedPhone& phone) {
                return phone.name == options.phone || phone.identifier == options.phone;
            });
        },
        error);
    if (!written) {
        std::cerr << error << "\n";
        return kCannotUseState;
    }
    if (revoked == 0) {
        std::cerr << "No phone is called \"" << options.phone << "\": petrel phones lists them.\n";
        return kNoSuchPhone;
    }
    std::cout << "\"" << options.phone << "\" is revoked.\n";
    return 0;
}

}  // namespace petrel
