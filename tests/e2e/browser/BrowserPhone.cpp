#include "tests/e2e/browser/BrowserPhone.h"

namespace browser {
namespace {

std::vector<std::string> Words(const BrowserPhoneOptions& options) {
    std::vector<std::string> words = {KESTREL_BROWSER_PHONE, "--listen", options.address,       "--video",
                                      options.cameraFile,    "--audio",  options.microphoneFile};
    if (!options.codec.empty()) words.insert(words.end(), {"--codec", options.codec});
    if (options.onlyThatCodec) words.emplace_back("--only");
    return words;
}

}  // namespace

BrowserPhone::BrowserPhone(const BrowserPhoneOptions& options) : NodeProgram(Words(options)) {}

}  // namespace browser
