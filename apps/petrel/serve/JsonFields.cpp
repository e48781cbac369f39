#include "apps/petrel/serve/JsonFields.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace petrel {

using nlohmann::json;

std::optional<JsonFields> JsonFields::Read(std::string_view text) {
    json parsed = json::parse(text, nullptr, false);
    if (!parsed.is_object()) return std::nullopt;
    return JsonFields(std::move(parsed));
}

JsonFields::JsonFields(json toRead) : object(std::make_shared<const json>(std::move(toRead))) {}

const json* JsonFields::Find(const char* key) const {
    const auto found = object->find(key);
    return found == object->end() || found->is_null() ? nullptr : &*found;
}

std::string JsonFields::Text(const char* key, std::size_t maximumBytes) {
    if (Find(key) == nullptr) good = false;
    return OptionalText(key, maximumBytes);
}

std::optional<int> JsonFields::Integer(const char* key, int minimum, int maximum) {
    if (Find(key) == nullptr) good = false;
    return OptionalInteger(key, minimum, maximum);
}

std::string JsonFields::OptionalText(const char* key, std::size_t maximumBytes) {
    const json* const found = Find(key);
    if (found == nullptr) return {};
    if (found->is_string()) {
        const auto& text = found->get_ref<const std::string&>();
        if (text.size() <= maximumBytes && text.find('\0') == std::string::npos) return text;
    }
    good = false;
    return {};
}

std::optional<int> JsonFields::OptionalInteger(const char* key, int minimum, int maximum) {
    const json* const found = Find(key);
    if (found == nullptr) return std::nullopt;
    if (found->is_number_integer() && *found >= minimum && *found <= maximum) return found->get<int>();
    good = false;
    return std::nullopt;
}

std::optional<double> JsonFields::OptionalNumber(const char* key, double minimum, double maximum) {
    const json* const found = Find(key);
    if (found == nullptr) return std::nullopt;
    if (found->is_number()) {
        const double value = found->get<double>();
        if (value >= minimum && value <= maximum) return value;
    }
    good = false;
    return std::nullopt;
}

std::optional<bool> JsonFields::OptionalFlag(const char* key) {
    const json* const found = Find(key);
    if (found == nullptr) return std::nullopt;
    if (found->is_boolean()) return found->get<bool>();
    good = false;
    return std::nullopt;
}

std::vector<JsonFields> JsonFields::Objects(const char* key, std::size_t most) {
    std::vector<JsonFields> objects;
    const json* const found = Find(key);
    if (found == nullptr || !found->is_array() || found->size() > most) {
        good = false;
        return objects;
    }
    for (const json& element : *found) {
        if (element.is_object()) {
            objects.emplace_back(element);
        } else {
            good = false;
        }
    }
    return objects;
}

}  // namespace petrel
