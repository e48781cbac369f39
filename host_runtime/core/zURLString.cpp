#include "host/core/zURLString.h"

#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>
#include <string_view>

namespace {

void Store(zString* output, std::string_view text) {
    if (output != nullptr) output->Assign(text);
}

std::string_view View(boost::urls::string_view text) {
    return {text.data(), text.size()};
}

}  // namespace

bool zURLString::Get(const char* url, zString* scheme, zString* host, zString* port, zString* path) {
    for (zString* output : {scheme, host, port, path})
        Store(output, {});
    if (url == nullptr) return false;
    const auto parsed = boost::urls::parse_uri(boost::urls::string_view(url));
    if (!parsed || !parsed->has_authority()) return false;
    // Kept percent-encoded, so that an encoded zero byte cannot shorten a text.
    const std::string_view hostText = View(parsed->encoded_host_address());
    const std::string_view pathText = View(parsed->encoded_path());
    // The parser ends a port at its last digit and takes what follows for a path.
    const bool pathFits = pathText.empty() || pathText.front() == '/';
    if (hostText.empty() || !pathFits) return false;
    Store(scheme, View(parsed->scheme()));
    Store(host, hostText);
    Store(port, View(parsed->port()));
    Store(path, pathText);
    return true;
}
