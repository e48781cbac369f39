#include "tests/unit/plugin/PlayedHost.h"

#include "host/core/zString.h"
#include "host/ui/eView.h"

class ePatoisManager;
class ePurse;

tests::PlayedHost& tests::ThePlayedHost() {
    static PlayedHost host;
    return host;
}

// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

const char* __real__ZNK14ePatoisManager6LookupEPKc(const ePatoisManager*, const char* key);
bool __real__ZN7zSocket9DNSLookupEPKcR7zString(const char* host, zString& address);
bool __real__ZN10zURLString3GetEPKcP7zStringS3_S3_S3_(const char* url, zString* scheme, zString* host,
                                                      zString* port, zString* path);
zStatus __real__ZN8ePhoenix19NewGUIFromXMLRecordEP6ePurseRK7zRecordPP5eView(ePurse*, const zRecord& layout,
                                                                            eView** views);
void __real__ZN5eView12AddChildViewEPS_i(eView*, eView* child, std::int32_t position);

const char* __wrap__ZNK14ePatoisManager6LookupEPKc(const ePatoisManager* manager, const char* key) {
    const auto& translations = tests::ThePlayedHost().translations;
    const auto found = translations.find(key);
    if (found != translations.end()) return found->second.c_str();
    return __real__ZNK14ePatoisManager6LookupEPKc(manager, key);
}

bool __wrap__ZN7zSocket9DNSLookupEPKcR7zString(const char* host, zString& address) {
    const auto& lookUp = tests::ThePlayedHost().lookUp;
    if (!lookUp) return __real__ZN7zSocket9DNSLookupEPKcR7zString(host, address);
    address.Assign(lookUp->text);
    return lookUp->succeeded;
}

bool __wrap__ZN10zURLString3GetEPKcP7zStringS3_S3_S3_(const char* url, zString* scheme, zString* host,
                                                      zString* port, zString* path) {
    const auto& hostOfUrl = tests::ThePlayedHost().hostOfUrl;
    if (!hostOfUrl) return __real__ZN10zURLString3GetEPKcP7zStringS3_S3_S3_(url, scheme, host, port, path);
    if (host != nullptr) host->Assign(hostOfUrl->text);
    return hostOfUrl->succeeded;
}

zStatus __wrap__ZN8ePhoenix19NewGUIFromXMLRecordEP6ePurseRK7zRecordPP5eView(ePurse* purse,
                                                                            const zRecord& layout,
                                                                            eView** views) {
    const auto& makeViews = tests::ThePlayedHost().makeViews;
    if (makeViews) return makeViews(layout, views);
    return __real__ZN8ePhoenix19NewGUIFromXMLRecordEP6ePurseRK7zRecordPP5eView(purse, layout, views);
}

void __wrap__ZN5eView12AddChildViewEPS_i(eView* parent, eView* child, std::int32_t position) {
    tests::ThePlayedHost().addedViews.push_back({child, position});
    __real__ZN5eView12AddChildViewEPS_i(parent, child, position);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
