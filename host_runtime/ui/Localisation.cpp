#include "host_runtime/ui/Localisation.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "host/ui/ePatoisManager.h"
#include "host/ui/eView.h"

namespace {

struct Translation {
    std::string_view key;
    const char* text;
};

constexpr std::array kEnglish = {
    Translation{"iOS Cam - Petrel", "iOS Cam - Petrel"},
    Translation{"p_connected", "Connected"},
    Translation{"p_disconnected", "Not connected"},
    Translation{"p_kestrel_address", "Address of the phone"},
    Translation{"p_kestrel_connect", "Connect"},
    Translation{"p_kestrel_datarate", "Data rate"},
    Translation{"p_kestrel_endpoint_exists", "Another source already uses this address."},
    Translation{
        "p_kestrel_endpoint_exists2",
        "A phone can feed one source only. Enter the address of another phone, or remove the other source "
        "first."},
    Translation{"p_kestrel_status", "Status"},
};

}  // namespace

ePatoisManager* ePatoisManager::Default() {
    static ePatoisManager manager;
    return &manager;
}

const char* ePatoisManager::Lookup(const char* key) const {
    if (key == nullptr) return "";
    const auto found = std::find_if(kEnglish.begin(), kEnglish.end(),
                                    [key](const Translation& translation) { return translation.key == key; });
    return found != kEnglish.end() ? found->text : key;
}

namespace host_runtime {

std::string TextToShow(const char* keyOrText) {
    return ePatoisManager::Default()->Lookup(keyOrText);
}

std::string TextToShow(const eView& view, zFourCC field) {
    const char* text = view.Fields().AsCString(field, "");
    return field == FourCC("text") ? text : TextToShow(text);
}

}  // namespace host_runtime
