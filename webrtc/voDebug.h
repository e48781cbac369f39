#pragma once

#include <cstdint>

#include "webrtc/voCallback.h"
#include "webrtc/voPointer.h"

namespace vo_webrtc {

class voDebug : public voObject {
public:
    enum class LogLevel : std::uint32_t { Verbose = 0, Info = 1, Warning = 2, Error = 3, None = 4 };

    class Logging : public voCallback {
    public:
        using voCallback::voCallback;
        virtual void OnLogLine(
            const char* line) = 0;  // [library-thread] zero-terminated, may end in a line feed
    };

    using voObject::voObject;

    // [any-thread] One sink for the whole library; null stops.
    static void SetLogging(voPointer<Logging> sink, LogLevel level);
};

}  // namespace vo_webrtc
