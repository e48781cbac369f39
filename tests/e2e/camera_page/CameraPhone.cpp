#include "tests/e2e/camera_page/CameraPhone.h"

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
    return words;
}

}  // namespace

CameraPhone::CameraPhone(const CameraPhoneOptions& options) : NodeProgram(Words(options)) {}

bool CameraPhone::WaitForState(const std::string& state, std::chrono::seconds limit, std::size_t after) {
    return WaitFor(
        [&state](const browser::PhoneEvent& event) { return event.name == "state" && event.state == state; },
        limit, after);
}

}  // namespace camera_page
