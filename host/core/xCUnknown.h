// Base of concrete host objects: keeps the reference count and answers for the base interfaces.
#pragma once

#include <atomic>

#include "host/core/xIUnknown.h"
#include "host/core/zObject.h"

class xCUnknown : public xIUnknown, public zObject {
public:
    xCUnknown() = default;
    xCUnknown(const xCUnknown&) = delete;
    xCUnknown& operator=(const xCUnknown&) = delete;

    zStatus QueryInterface(const char* name, void** out) override;
    std::uint32_t AddRef() override;
    std::uint32_t Release() override;
    ~xCUnknown() override;

    // Stores `part` of this object in `*out` and adds a reference. A null `out` adds none and is success.
    virtual zStatus GetInterface(xIUnknown* part, void** out);

    // Answers "xIUnknown" and "xCUnknown"; any other name, also null, fails with a null result.
    virtual zStatus Concrete_QueryInterface(const char* name, void** out);

    // Destroys the object whatever its count.
    virtual void DeleteSelf();

    // DeleteSelf for a pointer that may be null; null does nothing.
    static void DeleteSelf(xCUnknown* object);

    // Exact and case-sensitive; a null name equals nothing.
    static bool CompareInterfaceName(const char* name, const char* interfaceName);

    std::uint32_t Concrete_AddRef();
    std::uint32_t Concrete_Release();

private:
    std::atomic<std::uint32_t> referenceCount{1};  // the maker owns the first reference
};
