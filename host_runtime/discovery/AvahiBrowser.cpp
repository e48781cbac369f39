#include "host_runtime/discovery/AvahiBrowser.h"

#include <avahi-client/lookup.h>
#include <avahi-common/error.h>

#include <functional>
#include <map>
#include <utility>

#include "host/core/zThread.h"
#include "host/core/zTraceManager.h"
#include "host_runtime/discovery/Sighting.h"
#include "mdns/AvahiConnection.h"

namespace host_runtime {
namespace {

// A network in which more is announced is not one to trust; each sighting costs the daemon an object.
constexpr std::size_t kMostSightings = 400;

class AvahiBrowser final : public ServiceBrowser {
public:
    ~AvahiBrowser() override { connection.reset(); }

    void Start(std::weak_ptr<ServiceListener> toTell) override;

private:
    // All below on Avahi's thread.
    void OnUp(mdns::AvahiConnection& daemon, AvahiClient& client);
    void OnDown();
    static void OnBrowsed(AvahiServiceBrowser* browser, AvahiIfIndex interface, AvahiProtocol protocol,
                          AvahiBrowserEvent event, const char* name, const char* type, const char* domain,
                          AvahiLookupResultFlags flags, void* self);
    void Add(AvahiClient& client, const ServiceKey& key);
    void Remove(const ServiceKey& key);
    void Post(std::function<void(ServiceListener&)> report);

    const std::shared_ptr<zObject> lifetime = std::make_shared<zObject>();  // cancels what was posted
    std::weak_ptr<ServiceListener> listener;
    mdns::AvahiConnection* running = nullptr;  // set while the daemon is there
    AvahiServiceBrowser* browser = nullptr;
    bool full = false;
    std::map<ServiceKey, Sighting> sightings;
    std::unique_ptr<mdns::AvahiConnection> connection;
};

void AvahiBrowser::Start(std::weak_ptr<ServiceListener> toTell) {
    listener = std::move(toTell);
    mdns::AvahiHandlers handlers;
    handlers.onUp = [this](mdns::AvahiConnection& daemon, AvahiClient& client) { OnUp(daemon, client); };
    handlers.onDown = [this] { OnDown(); };
    handlers.onOutage = [this](const std::string& reason) {
        Post([reason](ServiceListener& told) { told.BrowsingFailed(reason); });
    };
    connection = std::make_unique<mdns::AvahiConnection>(mdns::Need::Answers, std::move(handlers));
}

void AvahiBrowser::OnUp(mdns::AvahiConnection& daemon, AvahiClient& client) {
    running = &daemon;
    full = false;
    Post([](ServiceListener& told) { told.BrowsingBegan(); });
    browser = avahi_service_browser_new(&client, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, kPhoneServiceType,
                                        nullptr, AvahiLookupFlags{}, OnBrowsed, this);
    if (browser == nullptr) daemon.BeginAnew(avahi_strerror(avahi_client_errno(&client)));
}

void AvahiBrowser::OnDown() {
    sightings.clear();
    if (browser != nullptr) avahi_service_browser_free(browser);
    browser = nullptr;
}

void AvahiBrowser::OnBrowsed(AvahiServiceBrowser* browser, AvahiIfIndex interface, AvahiProtocol protocol,
                             AvahiBrowserEvent event, const char* name, const char*, const char* domain,
                             AvahiLookupResultFlags, void* browsing) {
    auto& self = *static_cast<AvahiBrowser*>(browsing);
    AvahiClient& client = *avahi_service_browser_get_client(browser);
    switch (event) {
        case AVAHI_BROWSER_NEW:
            self.Add(client, {interface, protocol == AVAHI_PROTO_INET6, name, domain});
            break;
        case AVAHI_BROWSER_REMOVE:
            self.Remove({interface, protocol == AVAHI_PROTO_INET6, name, domain});
            break;
        case AVAHI_BROWSER_FAILURE:
            self.running->BeginAnew(avahi_strerror(avahi_client_errno(&client)));
            break;
        case AVAHI_BROWSER_CACHE_EXHAUSTED:
        case AVAHI_BROWSER_ALL_FOR_NOW:
            break;
    }
}

void AvahiBrowser::Add(AvahiClient& client, const ServiceKey& key) {
    if (sightings.size() >= kMostSightings) {
        if (std::exchange(full, true)) return;
        zTraceManager::Default()->TraceMessage(
            FourCC("note"), "halyard: more than %zu services in the network; the rest is passed over\n",
            kMostSightings);
        return;
    }
    sightings.try_emplace(key, client, key,
                          [this](const ServiceKey& changed, const std::optional<ServiceDetails>& details) {
                              Post([changed, details](ServiceListener& told) {
                                  if (details) {
                                      told.ServiceSeen(changed, *details);
                                  } else {
                                      told.ServiceGone(changed);
                                  }
                              });
                          });
}

void AvahiBrowser::Remove(const ServiceKey& key) {
    sightings.erase(key);
    Post([key](ServiceListener& told) { told.ServiceGone(key); });
}

void AvahiBrowser::Post(std::function<void(ServiceListener&)> report) {
    zThread::ExecuteOnMainThread(lifetime, 0, {}, [told = listener, report = std::move(report)] {
        if (const auto owner = told.lock()) report(*owner);
    });
}

}  // namespace

std::unique_ptr<ServiceBrowser> MakeAvahiBrowser() {
    return std::make_unique<AvahiBrowser>();
}

}  // namespace host_runtime
