// A phone's page as far as the server can tell: pairs, opens its stream, and hears what comes.
#pragma once

#include <memory>
#include <string>

#include "tests/unit/web_server/TlsClient.h"

namespace e2e {

class PhonePage {
public:
    // With the code that the operator's page shows; expects to be let in.
    PhonePage(std::uint16_t serverPort, const std::string& name);

    // Its page is there from now on.
    void Open();
    void Close() { stream.reset(); }
    // Whether this event comes, and what before it.
    bool Hears(const std::string& event);

private:
    const std::uint16_t port;
    std::string cookie;
    std::unique_ptr<tests::TlsClient> stream;
};

}  // namespace e2e
