// A host's source list that remembers what it was told.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/renderer/nxSourceRegistry.h"

namespace tests {

class FakeSourceRegistry final : public nxSourceRegistry {
public:
    struct Announcement {
        nxSourceDescription description;
        zRecord settings;
    };
    struct Withdrawal {
        nxSourceDescription description;
        std::uint32_t flag = 0;
    };

    void AddRef() override {
        if (onAddRef) onAddRef();
        ++references;
    }
    void Release() override {
        --references;
        ++releases;
        if (onRelease) onRelease();
    }
    void Announce(const nxSourceDescription& description, const zRecord& settings) override {
        announced.push_back({description, settings});
    }
    void Withdraw(const nxSourceDescription& description, std::uint32_t flag) override {
        withdrawn.push_back({description, flag});
        if (onWithdraw) onWithdraw();
    }

    std::vector<std::string> WithdrawnIdentifiers() const {
        std::vector<std::string> identifiers;
        for (const Withdrawal& withdrawal : withdrawn)
            identifiers.push_back(withdrawal.description.identifier);
        return identifiers;
    }

    int references = 1;  // the test's own
    int releases = 0;
    std::vector<Announcement> announced;
    std::vector<Withdrawal> withdrawn;
    std::function<void()> onAddRef;
    std::function<void()> onRelease;
    std::function<void()> onWithdraw;
};

}  // namespace tests
