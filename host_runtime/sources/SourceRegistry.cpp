#include "host_runtime/sources/SourceRegistry.h"

#include <utility>

#include "host/core/zThread.h"

namespace host_runtime {

void SourceRegistry::SetListener(std::weak_ptr<SourceRegistryListener> newListener) {
    listener = std::move(newListener);
}

void SourceRegistry::AddRef() {
    referenceCount.fetch_add(1, std::memory_order_relaxed);
}

void SourceRegistry::Release() {
    if (referenceCount.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

void SourceRegistry::Announce(const nxSourceDescription& description, const zRecord& settings) {
    zThread::ExecuteOnMainThread([target = listener, description, settings] {
        if (const auto found = target.lock()) found->OnAnnounced(description, settings);
    });
}

void SourceRegistry::Withdraw(const nxSourceDescription& description, std::uint32_t) {
    if (description.identifier.empty()) return;
    zThread::ExecuteOnMainThread([target = listener, identifier = description.identifier] {
        if (const auto found = target.lock()) found->OnWithdrawn(identifier);
    });
}

}  // namespace host_runtime
