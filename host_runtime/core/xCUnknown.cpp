#include "host/core/xCUnknown.h"

#include <cstring>

xCUnknown::~xCUnknown() = default;

zStatus xCUnknown::QueryInterface(const char* name, void** out) {
    return Concrete_QueryInterface(name, out);
}

std::uint32_t xCUnknown::AddRef() {
    return Concrete_AddRef();
}

std::uint32_t xCUnknown::Release() {
    return Concrete_Release();
}

zStatus xCUnknown::GetInterface(xIUnknown* part, void** out) {
    if (out == nullptr) return kStatusOk;
    *out = part;
    AddRef();
    return kStatusOk;
}

zStatus xCUnknown::Concrete_QueryInterface(const char* name, void** out) {
    if (CompareInterfaceName(name, "xIUnknown") || CompareInterfaceName(name, "xCUnknown")) {
        return GetInterface(this, out);
    }
    if (out != nullptr) *out = nullptr;
    return kStatusFailed;
}

void xCUnknown::DeleteSelf() {
    delete this;
}

void xCUnknown::DeleteSelf(xCUnknown* object) {
    if (object != nullptr) object->DeleteSelf();
}

bool xCUnknown::CompareInterfaceName(const char* name, const char* interfaceName) {
    return name != nullptr && interfaceName != nullptr && std::strcmp(name, interfaceName) == 0;
}

std::uint32_t xCUnknown::Concrete_AddRef() {
    return referenceCount.fetch_add(1, std::memory_order_relaxed) + 1;
}

std::uint32_t xCUnknown::Concrete_Release() {
    // Acquire and release: whoever destroys the object must see what the other owners wrote.
    const std::uint32_t left = referenceCount.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) DeleteSelf();
    return left;
}
