// Announces phones to the network as services of type _petrel._tcp, through this machine's Avahi daemon and
// for as long as there is one. Without a daemon it says so once and waits for it.
#pragma once

#include <cstdint>
#include <map>
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
    explicit ServiceAnnouncer(const std::vector<AnnouncedPhone>& phones);
    ~ServiceAnnouncer();  // says goodbye for them
    ServiceAnnouncer(const ServiceAnnouncer&) = delete;
    ServiceAnnouncer& operator=(const ServiceAnnouncer&) = delete;

    // [any-thread] One for each address; one more replaces the one before. Both wait while the daemon is
    // slow.
    void Add(const AnnouncedPhone& phone);
    void Remove(const std::string& address);

private:
    class Announcement;

    // Both on Avahi's thread.
    void OnUp(mdns::AvahiConnection& daemon, AvahiClient& client);
    void OnDown();

    // On Avahi's thread, or while it is kept waiting. By address.
    std::map<std::string, AnnouncedPhone> announced;
    std::map<std::string, std::unique_ptr<Announcement>> announcements;
    std::unique_ptr<mdns::AvahiConnection> connection;
};

}  // namespace petrel
