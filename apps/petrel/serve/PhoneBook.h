// The phones that were paired, in a file of the state folder. Several processes may use it: each change is
// made to what stands in the file at that moment, under a lock.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "apps/petrel/serve/StateFolder.h"

namespace petrel {

struct PairedPhone {
    std::string identifier;
    std::string name;
    std::string address;        // where it answers for hosts; empty when there are more phones than addresses
    std::string secretDigest;   // of what its browser shows to be recognised
    std::int64_t pairedAt = 0;  // seconds since 1970
    std::int64_t lastSeen = 0;

    friend bool operator==(const PairedPhone&, const PairedPhone&) = default;
};

// What stands in the file. Nothing with a sentence in `error` when the text is damaged; what a later version
// added is not understood and not dropped silently either.
std::optional<std::vector<PairedPhone>> ReadPhones(const std::string& text, std::string& error);
std::string WritePhones(const std::vector<PairedPhone>& phones);

// 1 to 60 characters, no control characters, not the name that hosts give themselves. Empty when it may be
// used, otherwise a sentence.
std::string ProblemOfName(const std::string& name);

class PhoneBook {
public:
    using Change = std::function<void(std::vector<PairedPhone>& phones)>;

    // Nothing with a sentence in `error` when the file is damaged or cannot be read; it is left as it is.
    static std::optional<PhoneBook> Open(const StateFolder& folder, std::string& error);

    const std::vector<PairedPhone>& Phones() const { return phones; }
    const PairedPhone* WithIdentifier(const std::string& identifier) const;
    const PairedPhone* WithSecret(const std::string& secret) const;

    // False with a sentence in `error` when the file cannot be written; then nothing has changed.
    bool Update(const Change& change, std::string& error);

    // Reads the file again when somebody else changed it; true when it did. A damaged one is not taken over:
    // a sentence stands in `error`, once.
    bool Refresh(std::string& error);

    static constexpr const char* kFile = "phones.json";

private:
    struct Stamp {
        std::uint64_t node = 0;
        std::int64_t size = -1;
        std::int64_t changedSeconds = 0;
        std::int64_t changedNanoseconds = 0;
        friend bool operator==(const Stamp&, const Stamp&) = default;
    };

    explicit PhoneBook(StateFolder toUse) : folder(std::move(toUse)) {}
    Stamp StampOfFile() const;
    bool Load(std::string& error);

    StateFolder folder;
    std::vector<PairedPhone> phones;
    Stamp stamp;
};

}  // namespace petrel
