// What the server for phones tells this program: the lines of `petrel serve --events`.
#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "apps/halyard/ServedPhones.h"

namespace halyard {

struct ServerReady {
    std::vector<std::string> urls;
    std::string operatorPage;
    std::string fingerprint;  // empty: the certificate is not the server's own
};

struct CodeShown {
    std::string code;
    std::string url;      // with the code
    std::string picture;  // lines for a terminal
};

struct PhoneOpened {
    ServedPhone phone;
};

struct PhoneClosed {
    std::string address;
};

struct ServerFailed {
    std::string sentence;
};

// A line that is none of these is nothing.
using PhonesEvent =
    std::variant<std::monostate, ServerReady, CodeShown, PhoneOpened, PhoneClosed, ServerFailed>;

PhonesEvent ReadPhonesEvent(std::string_view line);

}  // namespace halyard
