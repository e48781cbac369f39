#include "tests/e2e/camera_page/CameraPhone.h"

#include <cstdlib>

namespace camera_page {
namespace {

std::vector<std::string> Words(const CameraPhoneOptions& options) {
    std::vector<std::string> words = {CAMERA_PHONE, "--url", options.url};
    const auto add = [&words](const char* name, const std::string& value) {
        if (!value.empty()) words.insert(words.end(), {name, value});
    };
    add("--video", options.cameraFile);
    add("--audio", options.microphoneFile);
    add("--stamped", options.stampedSize);
    add("--locale", options.locale);
    add("--modules", options.modules);
    add("--pocket", options.canBeLocked ? "yes" : "");
    return words;
}

}  // namespace

CameraPhone::CameraPhone(const CameraPhoneOptions& options) : NodeProgram(Words(options)) {}

bool CameraPhone::WaitForState(const std::string& state, std::chrono::seconds limit, std::size_t after) {
    return WaitFor(
        [&state](const browser::PhoneEvent& event) { return event.name == "state" && event.state == state; },
        limit, after);
}

bool CameraPhone::Says(const std::string& text, int tab) const {
    return Latest("state" + Suffix(tab)).text.find(text) != std::string::npos;
}

void CameraPhone::TakePicture(const std::string& name) {
    const char* const folder = std::getenv("CAMERA_PAGE_PICTURES");
    if (folder != nullptr) Write("picture " + std::string(folder) + "/" + name + ".png");
}

}  // namespace camera_page
