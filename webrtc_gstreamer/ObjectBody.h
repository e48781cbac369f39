// The library's side of every wrapper object: the reference count and what happens when it ends.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

#include "webrtc/voObject.h"
#include "webrtc/voPointer.h"

// Starts at count 0; the first pointer that wraps the object makes it 1.
class vo_webrtc::voObject::BaseImpl {
public:
    BaseImpl();
    virtual ~BaseImpl();
    BaseImpl(const BaseImpl&) = delete;
    BaseImpl& operator=(const BaseImpl&) = delete;

    void AddRef();   // [any-thread]
    void Release();  // [any-thread] The last one ends the object, on the calling thread.

    // The wrapper object that goes with this body.
    void Adopt(voObject* wrapper) { object = wrapper; }

    static BaseImpl* Of(const voObject& wrapper) { return wrapper.body; }

protected:
    voObject* Object() const { return object; }
    // Ends the wrapper object; the body itself goes right afterwards.
    virtual void EndObject() { delete object; }

private:
    std::atomic<std::int64_t> references{0};
    voObject* object = nullptr;
};

namespace webrtc_gstreamer {

using ObjectBody = vo_webrtc::voObject::BaseImpl;

// A library object of class Interface with a new body of class Body.
template <class Interface, class Body, class... Arguments>
vo_webrtc::voPointer<Interface> MakeObject(Arguments&&... arguments) {
    auto* body = new Body(std::forward<Arguments>(arguments)...);
    auto* wrapper = new Interface(body);
    body->Adopt(wrapper);
    return vo_webrtc::voPointer<Interface>(wrapper);
}

}  // namespace webrtc_gstreamer
