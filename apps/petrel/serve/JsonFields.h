// The fields of a JSON object that somebody else wrote, with their limits.
#pragma once

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace petrel {

class JsonFields {
public:
    // Nothing when the text is not one JSON object.
    static std::optional<JsonFields> Read(std::string_view text);
    explicit JsonFields(nlohmann::json object);

    // Each remembers when its field is missing or not what it should be.
    std::string Text(const char* key, std::size_t maximumBytes);
    std::optional<int> Integer(const char* key, int minimum, int maximum);

    // The same for fields that may be missing or null.
    std::string OptionalText(const char* key, std::size_t maximumBytes);
    std::optional<int> OptionalInteger(const char* key, int minimum, int maximum);
    std::optional<double> OptionalNumber(const char* key, double minimum, double maximum);
    std::optional<bool> OptionalFlag(const char* key);

    std::vector<JsonFields> Objects(const char* key, std::size_t most);

    bool AllGood() const { return good; }

private:
    const nlohmann::json* Find(const char* key) const;

    std::shared_ptr<const nlohmann::json> object;
    bool good = true;
};

}  // namespace petrel
