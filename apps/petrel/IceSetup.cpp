#include "apps/petrel/IceSetup.h"

#include <agent.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

#include "apps/petrel/GstHandles.h"
#include "support/scope_guard.h"

namespace petrel {
namespace {

bool IsUsable(const ifaddrs& entry) {
    constexpr unsigned kWorking = IFF_UP | IFF_RUNNING;
    if (entry.ifa_addr == nullptr || (entry.ifa_flags & kWorking) != kWorking) return false;
    if ((entry.ifa_flags & IFF_LOOPBACK) != 0) return false;
    if (entry.ifa_addr->sa_family == AF_INET) return true;
    if (entry.ifa_addr->sa_family != AF_INET6) return false;
    const auto* address = reinterpret_cast<const sockaddr_in6*>(entry.ifa_addr);
    return !IN6_IS_ADDR_LINKLOCAL(&address->sin6_addr);
}

bool HasOnlyLoopback() {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) return false;
    const support::ScopeGuard release([first] { freeifaddrs(first); });
    for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
        if (IsUsable(*entry)) return false;
    }
    return true;
}

}  // namespace

void PrepareIceAgent(GstElement* webrtcbin) {
    GObject* ice = nullptr;
    g_object_get(webrtcbin, "ice-agent", &ice, nullptr);
    if (ice == nullptr) return;
    const GstHandle<GObject> ownedIce(ice);
    NiceAgent* agent = nullptr;
    g_object_get(ice, "agent", &agent, nullptr);
    if (agent == nullptr) return;
    const GstHandle<NiceAgent> ownedAgent(agent);
    g_object_set(agent, "ice-tcp", FALSE, "upnp", FALSE, "keepalive-conncheck", TRUE, nullptr);
    if (HasOnlyLoopback()) {
        NiceAddress loopback;
        nice_address_init(&loopback);
        nice_address_set_from_string(&loopback, "127.0.0.1");
        nice_agent_add_local_address(agent, &loopback);
    }
}

}  // namespace petrel
