// The phones of the server that this program runs, for discovery: together with those that are found in the
// network, when these are wanted, so that a phone that both tell of is one. [main-thread] throughout.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "host_runtime/discovery/ServiceBrowser.h"
#include "support/object_count.h"

namespace halyard {

struct ServedPhone {
    std::string identifier;
    std::string name;
    std::string address;
    std::uint16_t port = 0;
};

class ServedPhones final : public host_runtime::ServiceListener,
                           public std::enable_shared_from_this<ServedPhones>,
                           private support::Counted<ServedPhones> {
public:
    using support::Counted<ServedPhones>::Alive;

    // For Host::Discover(), once. `network` finds the other phones, and may be null.
    std::unique_ptr<host_runtime::ServiceBrowser> Browser(
        std::unique_ptr<host_runtime::ServiceBrowser> network);

    // One for each address; one more replaces the one before.
    void Opened(const ServedPhone& phone);
    void Closed(const std::string& address);
    // Null when there is none.
    const ServedPhone* At(const std::string& address) const;

    // What the network's browser says.
    void BrowsingBegan() override;
    void BrowsingFailed(const std::string& reason) override;
    void ServiceSeen(const host_runtime::ServiceKey& key,
                     const host_runtime::ServiceDetails& details) override;
    void ServiceGone(const host_runtime::ServiceKey& key) override;

private:
    class Handle;

    void Tell(const ServedPhone& phone) const;

    std::weak_ptr<host_runtime::ServiceListener> listener;
    std::map<std::string, ServedPhone> phones;  // by address
};

}  // namespace halyard
