#pragma once

#include <cstddef>
#include <utility>

namespace vo_webrtc {

// Counted reference to a voObject. Null is allowed. A voPointer itself belongs to one thread at a time.
template <class T>
class voPointer {
public:
    voPointer() = default;
    voPointer(std::nullptr_t) {}               // NOLINT: null converts
    voPointer(T* pointee) : object(pointee) {  // NOLINT: wraps a new object
        if (object != nullptr) object->AddRef();
    }
    voPointer(const voPointer& other) : voPointer(other.object) {}
    voPointer(voPointer&& other) noexcept : object(std::exchange(other.object, nullptr)) {}
    template <class U>
    voPointer(const voPointer<U>& other) : voPointer(static_cast<T*>(other.Get())) {}  // NOLINT
    ~voPointer() {
        if (object != nullptr) object->Release();
    }

    voPointer& operator=(voPointer other) noexcept {
        std::swap(object, other.object);
        return *this;
    }

    T* Get() const { return object; }
    T* operator->() const { return object; }
    T& operator*() const { return *object; }
    explicit operator bool() const { return object != nullptr; }
    friend bool operator==(const voPointer& left, const voPointer& right) = default;

private:
    T* object = nullptr;
};

}  // namespace vo_webrtc
