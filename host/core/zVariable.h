// Named, typed fields. A name is a text or a four-character code; a code and the text of the same four
// characters name the same field. Reading a missing field, or one of another type, yields the default.
// Not synchronised: one thread at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

#include "host/core/zFourCC.h"

// Name of a field. Does not own the text.
class zKey {
public:
    zKey(zFourCC code);           // NOLINT: a code is a key
    zKey(const char* name);       // NOLINT: a text is a key; null is the empty name
    zKey(std::string_view name);  // NOLINT

    // The code, or 0 when the name is not exactly four characters long.
    zFourCC Code() const { return code; }
    std::string Name() const;

private:
    zFourCC code = 0;
    std::string_view name;
};

class zVariable {
public:
    using Value = std::variant<bool, std::int32_t, std::uint64_t, std::string>;

    zVariable();
    zVariable(const zVariable& other);
    zVariable(zVariable&& other) noexcept;
    zVariable& operator=(const zVariable& other);
    zVariable& operator=(zVariable&& other) noexcept;
    virtual ~zVariable();

    // A null text is stored as the empty text. Numbers under a four-character code are kept in place:
    // the first kInlineFields of them allocate nothing.
    void SetCString(zKey key, const char* text);
    void SetBool(zKey key, bool value);
    void SetInt32(zKey key, std::int32_t value);
    void SetUInt64(zKey key, std::uint64_t value);
    void Erase(zKey key);
    void ClearFields();

    bool Has(zKey key) const;
    // The text stays valid until the field changes. `defaultText` may be null and is returned as it is.
    const char* AsCString(zKey key, const char* defaultText) const;
    bool AsBool(zKey key, bool defaultValue) const;
    // A number of either width is read when it fits.
    std::int32_t AsInt32(zKey key, std::int32_t defaultValue) const;
    std::uint64_t AsUInt64(zKey key, std::uint64_t defaultValue) const;

    void ForEachField(const std::function<void(const std::string& name, const Value& value)>& visit) const;

private:
    static constexpr std::size_t kInlineFields = 16;
    enum class NumberType : std::uint8_t { Bool, Int32, UInt64 };
    struct NumberField {
        zFourCC code = 0;
        NumberType type = NumberType::Bool;
        std::uint64_t bits = 0;
    };
    struct NamedFields;

    static Value NumberValue(const NumberField& field);
    void SetNumber(zKey key, NumberType type, std::uint64_t bits);
    void EraseNumber(zFourCC code);
    const NumberField* FindNumber(zFourCC code) const;
    const Value* FindNamed(zKey key) const;
    void SetNamed(zKey key, Value value);

    std::array<NumberField, kInlineFields> numbers;
    std::size_t numberCount = 0;
    std::unique_ptr<NamedFields> named;  // texts, numbers under other names, and the overflow of numbers
};
