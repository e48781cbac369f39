#include "host/core/zURLString.h"

#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>
#include <string_view>

namespace {

void Store(zString* output, std::string_view text) {
    if (output != nullptr) output->Assign(text);
}

}  // namespace

bool zURLString::Get(const char* url, zString* scheme, zString* host, zString* port, zString* path) {
    for (zString* output : {scheme, host, port, path})
        Store(output, {});
    if (url == nullptr) return false;
    const auto parsed = boost::urls::parse_uri(boost::urls::string_view(url));
    if (!parsed || !parsed->has_authority()) return false;
    // Kept percent-encoded, so that an encoded zero byte cannot shorten a text.
    const std::string_view hostText(parsed->encoded_host_address().data(),
                                    parsed->encoded_host_address().size());
    if (hostText.empty()) return false;
    Store(scheme, std::string_view(parsed->scheme().data(), parsed->scheme().size()));
    Store(host, hostText);
    Store(port, std::string_view(parsed->port().data(), parsed->port().size()));
    Store(path, std::string_view(parsed->encoded_path().data(), parsed->encoded_path().size()));
    return true;
}
