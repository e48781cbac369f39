// The host's list of sources as the plug-in sees it. What the plug-in says is copied and handed to the
// listener later, in a job of its own, so that a listener may call the plug-in.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "host/core/zObject.h"
#include "host/renderer/nxSourceRegistry.h"
#include "support/object_count.h"

namespace host_runtime {

class SourceRegistryListener : public zObject {
public:
    // [main-thread]
    virtual void OnAnnounced(const nxSourceDescription& description, const zRecord& settings) = 0;
    virtual void OnWithdrawn(const std::string& identifier) = 0;
};

class SourceRegistry final : public nxSourceRegistry, private support::Counted<SourceRegistry> {
public:
    using support::Counted<SourceRegistry>::Alive;

    SourceRegistry() = default;  // the maker owns the first reference

    // [main-thread] Held weakly; once it is gone, what the plug-in says is dropped.
    void SetListener(std::weak_ptr<SourceRegistryListener> newListener);

    void AddRef() override;
    void Release() override;
    void Announce(const nxSourceDescription& description, const zRecord& settings) override;
    void Withdraw(const nxSourceDescription& description, std::uint32_t flag) override;

private:
    ~SourceRegistry() override = default;

    std::weak_ptr<SourceRegistryListener> listener;
    std::atomic<std::uint32_t> referenceCount{1};
};

}  // namespace host_runtime
