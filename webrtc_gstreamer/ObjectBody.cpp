#include "webrtc_gstreamer/ObjectBody.h"

#include "webrtc/voCallback.h"
#include "webrtc_gstreamer/CallOut.h"
#include "webrtc_gstreamer/LivingObjects.h"

namespace {

std::atomic<std::int64_t> livingBodies{0};

// The body of an object that a user of the library implements: its end is the user's destroy function.
class CallbackBody : public vo_webrtc::voObject::BaseImpl {
public:
    CallbackBody(vo_webrtc::voCallback* callback, vo_webrtc::voCallback::DestroyFunction destroyFunction)
        : destroy(destroyFunction) {
        Adopt(callback);
    }

private:
    void EndObject() override {
        if (destroy == nullptr) return;
        webrtc_gstreamer::CallOut(
            "a destroy function", [this] { destroy(Object()); }, &webrtc_gstreamer::LogErrorOfCaller);
    }

    const vo_webrtc::voCallback::DestroyFunction destroy;
};

}  // namespace

namespace vo_webrtc {

voObject::BaseImpl::BaseImpl() {
    livingBodies.fetch_add(1, std::memory_order_relaxed);
}

voObject::BaseImpl::~BaseImpl() {
    livingBodies.fetch_sub(1, std::memory_order_relaxed);
}

void voObject::BaseImpl::AddRef() {
    references.fetch_add(1, std::memory_order_relaxed);
}

void voObject::BaseImpl::Release() {
    if (references.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    EndObject();
    delete this;
}

void voObject::AddRef() {
    if (body != nullptr) body->AddRef();
}

void voObject::Release() {
    if (body != nullptr) body->Release();
}

voObject::BaseImpl* voCallback::MakeBody(voCallback* object, DestroyFunction destroy) {
    return new CallbackBody(object, destroy);
}

}  // namespace vo_webrtc

namespace webrtc_gstreamer {

std::int64_t LivingObjects() {
    return livingBodies.load(std::memory_order_relaxed);
}

}  // namespace webrtc_gstreamer
