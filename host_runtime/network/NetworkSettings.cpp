#include "host_runtime/network/NetworkSettings.h"

#include <utility>

#include "support/annotated_mutex.h"

namespace host_runtime {
namespace {

struct Shared {
    support::Mutex mutex;
    NetworkSettings settings GUARDED_BY(mutex);
};

Shared& TheShared() {
    static Shared* const shared = new Shared;  // sockets may open until the very end of the process
    return *shared;
}

}  // namespace

NetworkSettings CurrentNetworkSettings() {
    Shared& shared = TheShared();
    const support::MutexLock lock(shared.mutex);
    return shared.settings;
}

void SetNetworkSettings(NetworkSettings newSettings) {
    Shared& shared = TheShared();
    const support::MutexLock lock(shared.mutex);
    shared.settings = std::move(newSettings);
}

}  // namespace host_runtime
