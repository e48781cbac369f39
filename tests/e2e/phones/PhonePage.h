// A phone's page as far as the server can tell: pairs, opens its stream, and hears what comes.
#pragma once

#include <memory>
#include <nlohmann/json_fwd.hpp>
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
    // Whether this event comes; others may come before it.
    bool Hears(const std::string& event);
    // What came before this event, as it was sent; everything when it does not come.
    std::string HeardBefore(const std::string& event);
    // What belongs to the event that was heard last.
    nlohmann::json Data();
    void Post(const std::string& path, const nlohmann::json& body) const;

private:
    const std::uint16_t port;
    std::string cookie;
    std::unique_ptr<tests::TlsClient> stream;
};

}  // namespace e2e
