// The library-side body of every wrapper object: the count, and the end at zero.
#pragma once

#include <atomic>
#include <cstdint>

#include "support/object_count.h"
#include "webrtc/voCallback.h"
#include "webrtc/voObject.h"
#include "webrtc/voPointer.h"

class vo_webrtc::voObject::BaseImpl : private support::Counted<vo_webrtc::voObject::BaseImpl> {
public:
    using support::Counted<BaseImpl>::Alive;

    BaseImpl() = default;
    BaseImpl(const BaseImpl&) = delete;
    BaseImpl& operator=(const BaseImpl&) = delete;
    virtual ~BaseImpl() = default;

    static BaseImpl& Of(const voObject& object) { return *object.body; }

    // Makes a library object around a body, which belongs to the object from then on.
    template <class Interface>
    static voPointer<Interface> Wrap(BaseImpl* body) {
        auto* object = new Interface(body);
        body->wrapped = object;
        return voPointer<Interface>(object);
    }

    // For an object that a user of the library made.
    void Adopt(voCallback* callback, voCallback::DestroyFunction function) {
        wrapped = callback;
        destroy = function;
    }

    void AddReference() { count.fetch_add(1, std::memory_order_relaxed); }
    void RemoveReference() {
        if (count.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
        destroy(wrapped);
        delete this;
    }

private:
    std::atomic<std::int64_t> count{0};
    voObject* wrapped = nullptr;
    voCallback::DestroyFunction destroy = &voCallback::Delete;
};
