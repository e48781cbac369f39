#pragma once

#include "webrtc/voObject.h"

#pragma GCC visibility push(default)
namespace vo_webrtc {

// Base of every object that a user of the library implements: observers, sinks, the log sink. Made with
// new, wrapped at once in a voPointer and never deleted directly. Starts at count 0.
class voCallback : public voObject {
public:
    // The library calls `destroy` with this object when its last reference goes, on any thread.
    using DestroyFunction = void (*)(voObject* object);

    explicit voCallback(DestroyFunction destroy) : voObject(MakeBody(this, destroy)) {}
    voCallback(const voCallback& other) = default;
    voCallback& operator=(const voCallback& other) = default;
    ~voCallback() override = default;

    // What nearly every object passes: deletes through the virtual destructor; null is harmless.
    static void Delete(voObject* object) { delete object; }

private:
    static BaseImpl* MakeBody(voCallback* object, DestroyFunction destroy);
};

}  // namespace vo_webrtc
#pragma GCC visibility pop
