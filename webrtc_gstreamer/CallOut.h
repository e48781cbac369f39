#pragma once

#include <exception>
#include <string>

#include "webrtc_gstreamer/Log.h"

namespace webrtc_gstreamer {

// Calls into the user's code; an exception stops here and is logged.
template <class Call>
void CallOut(const char* what, Call&& call) {
    try {
        call();
    } catch (const std::exception& error) {
        LogError(std::string("exception in ") + what + ": " + error.what());
    } catch (...) {
        LogError(std::string("exception in ") + what);
    }
}

}  // namespace webrtc_gstreamer
