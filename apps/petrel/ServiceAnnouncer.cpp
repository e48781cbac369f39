#include "apps/petrel/ServiceAnnouncer.h"

#include <avahi-client/publish.h>
#include <avahi-common/address.h>
#include <avahi-common/alternative.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>
#include <avahi-common/strlst.h>
#include <spdlog/spdlog.h>

#include <utility>

#include "apps/petrel/AnnouncedNames.h"
#include "mdns/NetworkInterfaces.h"

namespace petrel {
namespace {

constexpr const char* kServiceType = "_petrel._tcp";
constexpr const char* kEveryAddress = "0.0.0.0";
// Enough for a hall full of phones of one name; after that something is wrong.
constexpr int kMostRenamings = 100;

using TextRecord = std::unique_ptr<AvahiStringList, decltype(&avahi_string_list_free)>;

std::string Taken(char* text) {
    const std::string copy = text != nullptr ? text : "";
    avahi_free(text);
    return copy;
}

}  // namespace

// One phone's records, made with one client. Lives on Avahi's thread.
class ServiceAnnouncer::Announcement {
public:
    Announcement(mdns::AvahiConnection& daemon, AvahiClient& client, const AnnouncedPhone& toAnnounce)
        : connection(daemon), phone(toAnnounce), serviceName(ServiceNameOf(phone.name)) {
        if (phone.address != kEveryAddress) hostName = HostNameOf(phone.address);
        group = avahi_entry_group_new(&client, OnState, this);
        if (group == nullptr) {
            connection.BeginAnew(avahi_strerror(avahi_client_errno(&client)));
            return;
        }
        Publish();
    }
    ~Announcement() {
        if (group != nullptr) avahi_entry_group_free(group);
    }
    Announcement(const Announcement&) = delete;
    Announcement& operator=(const Announcement&) = delete;

private:
    static void OnState(AvahiEntryGroup* group, AvahiEntryGroupState state, void* announcement) {
        auto& self = *static_cast<Announcement*>(announcement);
        if (state == AVAHI_ENTRY_GROUP_ESTABLISHED) {
            spdlog::info("{}: announced as \"{}\"", self.phone.address, self.serviceName);
        } else if (state == AVAHI_ENTRY_GROUP_COLLISION) {
            self.Rename();
            self.Publish();
        } else if (state == AVAHI_ENTRY_GROUP_FAILURE) {
            self.connection.BeginAnew(
                avahi_strerror(avahi_client_errno(avahi_entry_group_get_client(group))));
        }
    }

    // Which of the two names somebody else has is not told.
    void Rename() {
        ++renamings;
        serviceName = Taken(avahi_alternative_service_name(serviceName.c_str()));
        if (!hostName.empty()) hostName = Taken(avahi_alternative_host_name(hostName.c_str()));
    }

    void Publish() {
        int result = AVAHI_ERR_COLLISION;
        while (result == AVAHI_ERR_COLLISION && renamings < kMostRenamings) {
            result = AddRecords();
            if (result == AVAHI_ERR_COLLISION) Rename();
        }
        if (result == AVAHI_OK) result = avahi_entry_group_commit(group);
        if (result != AVAHI_OK) {
            spdlog::warn("{}: the phone is not announced to the network ({})", phone.address,
                         avahi_strerror(result));
        }
    }

    int AddRecords() {
        avahi_entry_group_reset(group);
        const char* const domain = avahi_client_get_domain_name(avahi_entry_group_get_client(group));
        const std::string host = hostName + "." + (domain != nullptr ? domain : "local");
        const AvahiIfIndex interface = mdns::InterfaceOf(phone.address).value_or(AVAHI_IF_UNSPEC);
        if (!hostName.empty()) {
            AvahiAddress address{};
            if (avahi_address_parse(phone.address.c_str(), AVAHI_PROTO_INET, &address) == nullptr)
                return AVAHI_ERR_INVALID_ADDRESS;
            // The way back from the address to a name is the daemon's own.
            const int added = avahi_entry_group_add_address(group, interface, AVAHI_PROTO_UNSPEC,
                                                            AVAHI_PUBLISH_NO_REVERSE, host.c_str(), &address);
            if (added != AVAHI_OK) return added;
        }
        const std::string identifier = "PeerIdentifier=" + phone.peersIdentifier;
        const TextRecord text(avahi_string_list_new(identifier.c_str(), nullptr), avahi_string_list_free);
        return avahi_entry_group_add_service_strlst(
            group, interface, AVAHI_PROTO_UNSPEC, AvahiPublishFlags{}, serviceName.c_str(), kServiceType,
            nullptr, hostName.empty() ? nullptr : host.c_str(), phone.port, text.get());
    }

    mdns::AvahiConnection& connection;
    const AnnouncedPhone phone;
    std::string serviceName;
    std::string hostName;  // empty: the machine's own
    int renamings = 0;
    AvahiEntryGroup* group = nullptr;
};

ServiceAnnouncer::ServiceAnnouncer(const std::vector<AnnouncedPhone>& phones) {
    for (const AnnouncedPhone& phone : phones)
        announced.emplace(phone.address, phone);
    mdns::AvahiHandlers handlers;
    handlers.onUp = [this](mdns::AvahiConnection& daemon, AvahiClient& client) { OnUp(daemon, client); };
    handlers.onDown = [this] { OnDown(); };
    handlers.onOutage = [](const std::string& reason) {
        spdlog::warn("not announced to the network for now, because the Avahi daemon cannot be used ({})",
                     reason);
    };
    connection = std::make_unique<mdns::AvahiConnection>(mdns::Need::SettledHostName, std::move(handlers));
}

ServiceAnnouncer::~ServiceAnnouncer() {
    connection.reset();
}

void ServiceAnnouncer::Add(const AnnouncedPhone& phone) {
    connection->Run([this, &phone](AvahiClient* client) {
        announced.insert_or_assign(phone.address, phone);
        announcements.erase(phone.address);
        if (client == nullptr) return;
        announcements.emplace(phone.address, std::make_unique<Announcement>(*connection, *client, phone));
    });
}

void ServiceAnnouncer::Remove(const std::string& address) {
    connection->Run([this, &address](AvahiClient*) {
        announced.erase(address);
        announcements.erase(address);
    });
}

void ServiceAnnouncer::OnUp(mdns::AvahiConnection& daemon, AvahiClient& client) {
    for (const auto& [address, phone] : announced)
        announcements.emplace(address, std::make_unique<Announcement>(daemon, client, phone));
}

void ServiceAnnouncer::OnDown() {
    announcements.clear();
}

}  // namespace petrel
