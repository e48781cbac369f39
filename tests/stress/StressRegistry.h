// The host's list of sources: reacts later, never inside a call.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "host/core/zThread.h"
#include "host/renderer/nxSourceRegistry.h"
#include "tests/stress/ActionCounts.h"

namespace stress {

class StressRegistry final : public nxSourceRegistry {
public:
    using Announced = std::function<void(const std::string& identifier, const zRecord& settings)>;

    StressRegistry(ActionCounts& actionCounts, std::shared_ptr<zObject> cancelToken, Announced whenAnnounced)
        : counts(actionCounts), token(std::move(cancelToken)), announced(std::move(whenAnnounced)) {}

    void AddRef() override { ++references; }
    void Release() override { --references; }
    int References() const { return references; }  // of factories

    void Announce(const nxSourceDescription& description, const zRecord& settings) override {
        zThread::ExecuteOnMainThread(token, 0, {}, [this, identifier = description.identifier, settings] {
            announced(identifier, settings);
        });
    }
    void Withdraw(const nxSourceDescription&, std::uint32_t) override { counts.Add(Action::SourceWithdrawn); }

private:
    ActionCounts& counts;
    const std::shared_ptr<zObject> token;
    const Announced announced;
    int references = 0;
};

}  // namespace stress
