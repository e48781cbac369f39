// A person's phone: a real browser on the camera page.
#pragma once

#include <string>

#include "tests/e2e/browser/NodeProgram.h"

namespace camera_page {

struct CameraPhoneOptions {
    std::string url;
    std::string cameraFile;  // with a microphone file; or
    std::string microphoneFile;
    std::string stampedSize;  // "640x360": a camera whose pictures tell when they were painted
    std::string locale;
};

class CameraPhone : public browser::NodeProgram {
public:
    explicit CameraPhone(const CameraPhoneOptions& options);

    // The newest state that the page shows; empty before it shows any.
    std::string State() const { return Latest("state").state; }
    // Waits until the page shows a state; an older one that was it does not count when `after` events passed.
    bool WaitForState(const std::string& state, std::chrono::seconds limit, std::size_t after = 0);

    void Reload() { Write("reload"); }
    void Click(const std::string& selector) { Write("click " + selector); }
    void Choose(const std::string& selector, const std::string& value) {
        Write("choose " + selector + " " + value);
    }
    void Open(const std::string& url) { Write("open " + url); }
    void Turn() { Write("turn"); }
    void EndCamera() { Write("end-camera"); }
};

}  // namespace camera_page
