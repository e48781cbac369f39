// Announces phones to the network as services of type _petrel._tcp, through this machine's Avahi daemon and
// for as long as there is one. Without a daemon it says so once and waits for it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "mdns/AvahiConnection.h"

namespace petrel {

struct AnnouncedPhone {
    std::string name;
    std::string address;  // IPv4; 0.0.0.0 is every address of the machine
    std::uint16_t port = 0;
    std::string peersIdentifier;
};

class ServiceAnnouncer {
public:
    explicit ServiceAnnouncer(std::vector<AnnouncedPhone> phones);
    ~ServiceAnnouncer();  // says goodbye for them
    ServiceAnnouncer(const ServiceAnnouncer&) = delete;
    ServiceAnnouncer& operator=(const ServiceAnnouncer&) = delete;

private:
    class Announcement;

    // Both on Avahi's thread.
    void OnUp(mdns::AvahiConnection& daemon, AvahiClient& client);
    void OnDown();

    const std::vector<AnnouncedPhone> announced;
    std::vector<std::unique_ptr<Announcement>> announcements;
    std::unique_ptr<mdns::AvahiConnection> connection;
};

}  // namespace petrel
