// What happens when memory runs out: the error leaves the call, and nothing of the attempt stays behind.
#include <new>

#include "plugin/initialize_sources_plugin.h"
#include "tests/unit/plugin/FactoryTest.h"
#include "tests/unit/plugin/FailingAllocations.h"
#include "tests/unit/plugin/RecordedResources.h"

namespace {

class FactoryAllocations : public tests::FactoryTest {
protected:
    // Runs `attempt` with its first allocation failing, then its second, and so on until none is left to
    // fail. How many failed.
    template <class Attempt, class Check>
    static int FailEach(Attempt attempt, Check afterFailure) {
        constexpr int kMany = 10'000;
        for (int number = 0; number < kMany; ++number) {
            bool failed = false;
            try {
                const tests::FailingAllocation failing(number);
                attempt();
            } catch (const std::bad_alloc&) {
                failed = true;
            }
            if (!failed) return number;
            afterFailure(number);
        }
        ADD_FAILURE() << "no end of allocations";
        return kMany;
    }
};

TEST_F(FactoryAllocations, ThatFailLeaveTheEntry) {
    nxRendererFactory2* made = nullptr;
    const int failures = FailEach([&] { made = initialize_sources_plugin(&registry); },
                                  [this](int number) {
                                      EXPECT_EQ(nxKestrelRenderersFactory::Alive(), 1) << number;
                                      EXPECT_EQ(registry.references, 2) << number;
                                  });
    EXPECT_GE(failures, 2);  // the factory itself and its lifetime token
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(registry.references, 3);
    made->Release();
    EXPECT_EQ(registry.references, 2);
}

TEST_F(FactoryAllocations, ThatFailLeaveTheRequestForAPanel) {
    tests::PanelPlace place;
    const int failures = FailEach([&] { EXPECT_EQ(place.Build(*factory), kStatusOk); },
                                  [&](int number) { EXPECT_FALSE(place.HasPanel()) << number; });
    EXPECT_GE(failures, 2);  // the panel itself and its layout
    EXPECT_TRUE(place.HasPanel());
}

}  // namespace
