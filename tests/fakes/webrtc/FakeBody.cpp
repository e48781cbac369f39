#include "tests/fakes/webrtc/FakeBody.h"

namespace vo_webrtc {

void voObject::AddRef() {
    body->AddReference();
}

void voObject::Release() {
    body->RemoveReference();
}

voObject::BaseImpl* voCallback::MakeBody(voCallback* object, DestroyFunction destroy) {
    auto* body = new BaseImpl;
    body->Adopt(object, destroy);
    return body;
}

}  // namespace vo_webrtc
