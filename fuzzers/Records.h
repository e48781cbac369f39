// Records of the host made of the fuzzer's bytes, and what they hold.
#pragma once

#include <map>
#include <string>

#include "host/core/zRecord.h"

class FuzzedDataProvider;

namespace fuzzing {

// A text of the pool or any bytes; as the host passes texts, it ends at its first zero byte.
std::string AnyText(FuzzedDataProvider& bytes);
std::string AnyAddress(FuzzedDataProvider& bytes);

// Stores something under the key: mostly a text, else a number or nothing.
void SetAny(FuzzedDataProvider& bytes, zRecord& record, const char* key, const std::string& text);

// A source's settings record, or one that resembles it.
zRecord AnySettings(FuzzedDataProvider& bytes);

using Fields = std::map<std::string, zVariable::Value>;
Fields FieldsOf(const zRecord& record);

}  // namespace fuzzing
