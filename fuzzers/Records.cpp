#include "fuzzers/Records.h"

#include <fuzzer/FuzzedDataProvider.h>

namespace fuzzing {
namespace {

constexpr const char* kTexts[] = {"",         "phone-1",     "phone-2", "source-1",
                                  "source-2", "B\xC3\xBCro", "a\"b",    "a\\b"};
constexpr const char* kAddresses[] = {"",           "192.0.2.1",    "192.0.2.1:9001", "ws://192.0.2.1/",
                                      "/",          "camera.local", "[2001:db8::1]",  ":9001",
                                      " 192.0.2.1 "};

}  // namespace

std::string AnyText(FuzzedDataProvider& bytes) {
    if (bytes.ConsumeIntegralInRange(0, 3) != 0) return bytes.PickValueInArray(kTexts);
    return bytes.ConsumeRandomLengthString(40).c_str();
}

std::string AnyAddress(FuzzedDataProvider& bytes) {
    if (bytes.ConsumeBool()) return bytes.PickValueInArray(kAddresses);
    return bytes.ConsumeRandomLengthString(60).c_str();
}

void SetAny(FuzzedDataProvider& bytes, zRecord& record, const char* key, const std::string& text) {
    switch (bytes.ConsumeIntegralInRange(0, 15)) {
        case 0:
            break;
        case 1:
            record.SetBool(key, bytes.ConsumeBool());
            break;
        case 2:
            record.SetInt32(key, bytes.ConsumeIntegral<std::int32_t>());
            break;
        case 3:
            record.SetUInt64(key, bytes.ConsumeIntegral<std::uint64_t>());
            break;
        case 4:
            record.SetCString(key, nullptr);
            break;
        default:
            record.SetCString(key, text.c_str());
    }
}

zRecord AnySettings(FuzzedDataProvider& bytes) {
    zRecord settings;
    if (bytes.ConsumeIntegralInRange(0, 3) != 0) settings.SetBool("autoDiscovered", bytes.ConsumeBool());
    SetAny(bytes, settings, "kestrel_ip_address", AnyAddress(bytes));
    if (bytes.ConsumeBool()) SetAny(bytes, settings, "kestrel_peer_identifier", AnyText(bytes));
    if (bytes.ConsumeBool()) SetAny(bytes, settings, "titl", AnyText(bytes));
    if (bytes.ConsumeBool())
        SetAny(bytes, settings, bytes.ConsumeRandomLengthString(6).c_str(), AnyText(bytes));
    return settings;
}

Fields FieldsOf(const zRecord& record) {
    Fields fields;
    record.ForEachField(
        [&fields](const std::string& name, const zVariable::Value& value) { fields.emplace(name, value); });
    return fields;
}

}  // namespace fuzzing
