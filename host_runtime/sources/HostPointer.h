// Holds one reference to an object that counts its own (AddRef, Release).
#pragma once

#include <utility>

namespace host_runtime {

template <class T>
class HostPointer {
public:
    HostPointer() = default;
    // Takes over the reference that the caller owns.
    static HostPointer Adopt(T* object) { return HostPointer(object); }
    // Adds a reference.
    static HostPointer Share(T* object) {
        if (object != nullptr) object->AddRef();
        return HostPointer(object);
    }

    HostPointer(const HostPointer& other) : HostPointer(Share(other.object)) {}
    HostPointer(HostPointer&& other) noexcept : object(std::exchange(other.object, nullptr)) {}
    HostPointer& operator=(HostPointer other) noexcept {
        std::swap(object, other.object);
        return *this;
    }
    ~HostPointer() {
        if (object != nullptr) object->Release();
    }

    void Reset() { *this = HostPointer(); }
    T* Get() const { return object; }
    T* operator->() const { return object; }
    T& operator*() const { return *object; }
    explicit operator bool() const { return object != nullptr; }

private:
    explicit HostPointer(T* adopted) : object(adopted) {}

    T* object = nullptr;
};

}  // namespace host_runtime
