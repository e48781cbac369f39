#include "host_runtime/sources/SourceRegistry.h"

#include <gtest/gtest.h>

#include <vector>

#include "host_runtime/sources/HostPointer.h"
#include "tests/fakes/VirtualTime.h"

namespace host_runtime {
namespace {

class Listener final : public SourceRegistryListener {
public:
    void OnAnnounced(const nxSourceDescription& description, const zRecord& settings) override {
        heard.push_back("announced " + description.identifier + " " + settings.AsCString("name", ""));
    }
    void OnWithdrawn(const std::string& identifier) override { heard.push_back("withdrawn " + identifier); }

    std::vector<std::string> heard;
};

nxSourceDescription Description(const char* identifier) {
    nxSourceDescription description;
    description.identifier = identifier;
    return description;
}

TEST(SourceRegistry, ReactsInALaterTurnWithCopies) {
    fakes::VirtualTime time;
    const auto registry = HostPointer<SourceRegistry>::Adopt(new SourceRegistry);
    const auto listener = std::make_shared<Listener>();
    registry->SetListener(listener);
    {
        zRecord settings;
        settings.SetCString("name", "camera");
        registry->Announce(Description("PHONE"), settings);
        settings.SetCString("name", "changed");
    }
    registry->Withdraw(Description("PHONE"), 1);
    EXPECT_TRUE(listener->heard.empty()) << "never inside the call";
    time.RunDue();
    EXPECT_EQ(listener->heard, (std::vector<std::string>{"announced PHONE camera", "withdrawn PHONE"}));
}

TEST(SourceRegistry, IgnoresAnEmptyIdentifier) {
    fakes::VirtualTime time;
    const auto registry = HostPointer<SourceRegistry>::Adopt(new SourceRegistry);
    const auto listener = std::make_shared<Listener>();
    registry->SetListener(listener);
    registry->Withdraw(Description(""), 1);
    time.RunDue();
    EXPECT_TRUE(listener->heard.empty());
}

TEST(SourceRegistry, OutlivesItsListenerAndItsMaker) {
    fakes::VirtualTime time;
    auto* registry = new SourceRegistry;
    {
        const auto listener = std::make_shared<Listener>();
        registry->SetListener(listener);
        registry->AddRef();  // the plug-in's
        registry->Release();
        registry->Announce(Description("PHONE"), zRecord());
    }
    registry->Withdraw(Description("PHONE"), 1);
    time.RunDue();
    EXPECT_EQ(SourceRegistry::Alive(), 1);
    registry->Release();
}

}  // namespace
}  // namespace host_runtime
