#include "host_runtime/sources/RecordJson.h"

#include <cstdint>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <variant>

namespace host_runtime {
namespace {

// The library tells only numbers that it has read itself from signed ones.
bool IsNotNegative(const nlohmann::json& value) {
    return value.is_number_unsigned() || (value.is_number_integer() && value.get<std::int64_t>() >= 0);
}

// Whole numbers below the range of 32 bits have no field that holds them.
bool IsField(const nlohmann::json& value) {
    if (IsNotNegative(value)) return true;
    if (value.is_number_integer())
        return value.get<std::int64_t>() >= std::numeric_limits<std::int32_t>::min();
    return value.is_string() || value.is_boolean();
}

}  // namespace

void WriteRecord(const zRecord& record, nlohmann::json& object) {
    for (auto member = object.begin(); member != object.end();) {
        const bool erased = IsField(*member) && !record.Has(zKey{std::string_view(member.key())});
        member = erased ? object.erase(member) : std::next(member);
    }
    record.ForEachField([&object](const std::string& name, const zVariable::Value& value) {
        std::visit([&](const auto& content) { object[name] = content; }, value);
    });
}

zRecord ReadRecord(const nlohmann::json& object) {
    zRecord record;
    for (const auto& [name, value] : object.items()) {
        const zKey key{std::string_view(name)};
        if (value.is_string()) {
            record.SetCString(key, value.get_ref<const std::string&>().c_str());
        } else if (value.is_boolean()) {
            record.SetBool(key, value.get<bool>());
        } else if (IsNotNegative(value)) {
            const auto number = value.get<std::uint64_t>();
            if (number <= std::numeric_limits<std::int32_t>::max()) {
                record.SetInt32(key, static_cast<std::int32_t>(number));
            } else {
                record.SetUInt64(key, number);
            }
        } else if (value.is_number_integer()) {
            const auto number = value.get<std::int64_t>();
            if (number >= std::numeric_limits<std::int32_t>::min())
                record.SetInt32(key, static_cast<std::int32_t>(number));
        }
    }
    return record;
}

}  // namespace host_runtime
