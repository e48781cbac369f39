#include "host/core/zVariable.h"

#include <limits>
#include <map>
#include <optional>
#include <utility>

namespace {

zFourCC CodeOf(std::string_view name) {
    if (name.size() != 4) return 0;
    zFourCC code = 0;
    for (const char character : name)
        code = (code << 8) | static_cast<unsigned char>(character);
    return code;
}

std::optional<std::int32_t> ReadInt32(const zVariable::Value& value) {
    if (const auto* number = std::get_if<std::int32_t>(&value)) return *number;
    if (const auto* number = std::get_if<std::uint64_t>(&value)) {
        if (*number <= static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max())) {
            return static_cast<std::int32_t>(*number);
        }
    }
    return std::nullopt;
}

std::optional<std::uint64_t> ReadUInt64(const zVariable::Value& value) {
    if (const auto* number = std::get_if<std::uint64_t>(&value)) return *number;
    if (const auto* number = std::get_if<std::int32_t>(&value)) {
        if (*number >= 0) return static_cast<std::uint64_t>(*number);
    }
    return std::nullopt;
}

std::optional<bool> ReadBool(const zVariable::Value& value) {
    if (const auto* flag = std::get_if<bool>(&value)) return *flag;
    return std::nullopt;
}

}  // namespace

zKey::zKey(zFourCC keyCode) : code(keyCode) {}

zKey::zKey(const char* text) : zKey(text != nullptr ? std::string_view(text) : std::string_view()) {}

zKey::zKey(std::string_view text) : code(CodeOf(text)), name(text) {}

std::string zKey::Name() const {
    if (code == 0) return std::string(name);
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text.push_back(static_cast<char>((code >> shift) & 0xFF));
    return text;
}

struct zVariable::NamedFields {
    std::map<std::string, Value> values;
};

zVariable::zVariable() = default;
zVariable::~zVariable() = default;

zVariable::zVariable(const zVariable& other)
    : numbers(other.numbers),
      numberCount(other.numberCount),
      named(other.named ? std::make_unique<NamedFields>(*other.named) : nullptr) {}

zVariable::zVariable(zVariable&& other) noexcept
    : numbers(other.numbers),
      numberCount(std::exchange(other.numberCount, 0)),
      named(std::move(other.named)) {}

zVariable& zVariable::operator=(const zVariable& other) {
    if (this != &other) {
        numbers = other.numbers;
        numberCount = other.numberCount;
        named = other.named ? std::make_unique<NamedFields>(*other.named) : nullptr;
    }
    return *this;
}

zVariable& zVariable::operator=(zVariable&& other) noexcept {
    if (this != &other) {
        numbers = other.numbers;
        numberCount = std::exchange(other.numberCount, 0);
        named = std::move(other.named);
    }
    return *this;
}

void zVariable::SetCString(zKey key, const char* text) {
    Value value = std::string(text != nullptr ? text : "");
    EraseNumber(key.Code());
    SetNamed(key, std::move(value));
}

void zVariable::SetBool(zKey key, bool value) {
    SetNumber(key, NumberType::Bool, value ? 1 : 0);
}

void zVariable::SetInt32(zKey key, std::int32_t value) {
    SetNumber(key, NumberType::Int32, static_cast<std::uint64_t>(value));
}

void zVariable::SetUInt64(zKey key, std::uint64_t value) {
    SetNumber(key, NumberType::UInt64, value);
}

void zVariable::Erase(zKey key) {
    EraseNumber(key.Code());
    if (named) named->values.erase(key.Name());
}

void zVariable::ClearFields() {
    numberCount = 0;
    named.reset();
}

bool zVariable::Has(zKey key) const {
    return FindNumber(key.Code()) != nullptr || FindNamed(key) != nullptr;
}

const char* zVariable::AsCString(zKey key, const char* defaultText) const {
    const Value* value = FindNamed(key);
    const auto* text = value != nullptr ? std::get_if<std::string>(value) : nullptr;
    return text != nullptr ? text->c_str() : defaultText;
}

bool zVariable::AsBool(zKey key, bool defaultValue) const {
    if (const NumberField* number = FindNumber(key.Code())) {
        return ReadBool(NumberValue(*number)).value_or(defaultValue);
    }
    const Value* value = FindNamed(key);
    return value != nullptr ? ReadBool(*value).value_or(defaultValue) : defaultValue;
}

std::int32_t zVariable::AsInt32(zKey key, std::int32_t defaultValue) const {
    if (const NumberField* number = FindNumber(key.Code())) {
        return ReadInt32(NumberValue(*number)).value_or(defaultValue);
    }
    const Value* value = FindNamed(key);
    return value != nullptr ? ReadInt32(*value).value_or(defaultValue) : defaultValue;
}

std::uint64_t zVariable::AsUInt64(zKey key, std::uint64_t defaultValue) const {
    if (const NumberField* number = FindNumber(key.Code())) {
        return ReadUInt64(NumberValue(*number)).value_or(defaultValue);
    }
    const Value* value = FindNamed(key);
    return value != nullptr ? ReadUInt64(*value).value_or(defaultValue) : defaultValue;
}

void zVariable::ForEachField(
    const std::function<void(const std::string& name, const Value& value)>& visit) const {
    for (std::size_t index = 0; index < numberCount; ++index)
        visit(zKey(numbers[index].code).Name(), NumberValue(numbers[index]));
    if (!named) return;
    for (const auto& [name, value] : named->values)
        visit(name, value);
}

zVariable::Value zVariable::NumberValue(const NumberField& field) {
    switch (field.type) {
        case NumberType::Bool:
            return field.bits != 0;
        case NumberType::Int32:
            return static_cast<std::int32_t>(field.bits);
        case NumberType::UInt64:
            break;
    }
    return field.bits;
}

void zVariable::SetNumber(zKey key, NumberType type, std::uint64_t bits) {
    const NumberField field{key.Code(), type, bits};
    if (const NumberField* present = FindNumber(field.code)) {
        numbers[static_cast<std::size_t>(present - numbers.data())] = field;
        return;
    }
    if (field.code != 0 && numberCount < kInlineFields) {
        if (named) named->values.erase(key.Name());
        numbers[numberCount++] = field;
        return;
    }
    SetNamed(key, NumberValue(field));
}

void zVariable::EraseNumber(zFourCC code) {
    const NumberField* present = FindNumber(code);
    if (present == nullptr) return;
    const auto index = static_cast<std::size_t>(present - numbers.data());
    for (std::size_t next = index + 1; next < numberCount; ++next)
        numbers[next - 1] = numbers[next];
    --numberCount;
}

const zVariable::NumberField* zVariable::FindNumber(zFourCC code) const {
    if (code == 0) return nullptr;
    for (std::size_t index = 0; index < numberCount; ++index) {
        if (numbers[index].code == code) return &numbers[index];
    }
    return nullptr;
}

const zVariable::Value* zVariable::FindNamed(zKey key) const {
    if (!named) return nullptr;
    const auto found = named->values.find(key.Name());
    return found != named->values.end() ? &found->second : nullptr;
}

void zVariable::SetNamed(zKey key, Value value) {
    if (!named) named = std::make_unique<NamedFields>();
    named->values.insert_or_assign(key.Name(), std::move(value));
}
