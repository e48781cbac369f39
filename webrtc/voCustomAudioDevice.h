#pragma once

#include "webrtc/voObject.h"
#include "webrtc/voPointer.h"

#pragma GCC visibility push(default)
namespace vo_webrtc {

// The audio device of a factory: plays out on a clock of its own, without a sound card.
class voCustomAudioDevice : public voObject {
public:
    using voObject::voObject;

    static voPointer<voCustomAudioDevice> Create();  // [any-thread]
};

}  // namespace vo_webrtc
#pragma GCC visibility pop
