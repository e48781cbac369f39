// Makes phones of sighted services: several records of one phone are one phone, which has an IPv4 address if
// any of them has one, and which is lost when the last of them is gone. [main-thread] throughout.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "host_runtime/discovery/DiscoveredPhone.h"
#include "host_runtime/discovery/ServiceBrowser.h"
#include "support/object_count.h"

namespace host_runtime {

class PhoneDirectory final : public ServiceListener, private support::Counted<PhoneDirectory> {
public:
    using support::Counted<PhoneDirectory>::Alive;

    explicit PhoneDirectory(std::weak_ptr<PhoneListener> toTell);

    // Phones known so far are reported lost; one that is seen again in time has lost nothing, since the
    // listener waits before it believes a loss.
    void BrowsingBegan() override;
    // Phones stay: a picture does not depend on discovery.
    void BrowsingFailed(const std::string& reason) override;
    void ServiceSeen(const ServiceKey& key, const ServiceDetails& details) override;
    void ServiceGone(const ServiceKey& key) override;

private:
    void Review(const std::string& peerIdentifier);
    void Report(const DiscoveredPhone& phone);
    void ReportLost(const std::string& peerIdentifier);

    const std::weak_ptr<PhoneListener> listener;
    std::map<ServiceKey, ServiceDetails> services;
    std::map<std::string, DiscoveredPhone> reported;  // by peer identifier
    bool failed = false;
};

}  // namespace host_runtime
