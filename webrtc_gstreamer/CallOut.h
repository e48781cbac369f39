#pragma once

#include <exception>
#include <string>

#include "webrtc_gstreamer/Log.h"

namespace webrtc_gstreamer {

// Calls into the user's code; an exception stops here and is logged. On a thread that may be the user's,
// `log` is LogErrorOfCaller.
template <class Call>
void CallOut(const char* what, Call&& call, void (*log)(const std::string&) = &LogError) {
    try {
        call();
    } catch (const std::exception& error) {
        log(std::string("exception in ") + what + ": " + error.what());
    } catch (...) {
        log(std::string("exception in ") + what);
    }
}

}  // namespace webrtc_gstreamer
