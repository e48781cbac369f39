// Runs the browser phone: a page of the tests that plays the phone of the plug-in by itself.
#pragma once

#include <string>

#include "tests/e2e/browser/NodeProgram.h"

namespace browser {

struct BrowserPhoneOptions {
    std::string address;
    std::string cameraFile;
    std::string microphoneFile;
    std::string codec;           // empty leaves the choice to the browser
    bool onlyThatCodec = false;  // its answer names no other
};

class BrowserPhone : public NodeProgram {
public:
    explicit BrowserPhone(const BrowserPhoneOptions& options);

    // Takes the camera away from the connections that stand.
    void Freeze() { Write("freeze"); }
};

}  // namespace browser
