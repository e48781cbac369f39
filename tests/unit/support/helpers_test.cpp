#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

#include "support/object_count.h"
#include "support/scope_guard.h"
#include "support/weak_callback.h"

namespace {

struct Owner {
    std::string heard;
};

TEST(WeakCallback, RunsWhileItsOwnerLives) {
    const auto owner = std::make_shared<Owner>();
    const auto callback = support::WeakCallback(
        std::weak_ptr<Owner>(owner), [](Owner& self, const std::string& text) { self.heard += text; });
    callback("a");
    callback("b");
    EXPECT_EQ(owner->heard, "ab");
}

TEST(WeakCallback, DoesNothingAfterItsOwnersEnd) {
    auto owner = std::make_shared<Owner>();
    int calls = 0;
    const auto callback = support::WeakCallback(std::weak_ptr<Owner>(owner), [&calls](Owner&) { ++calls; });
    callback();
    owner.reset();
    callback();
    EXPECT_EQ(calls, 1);
}

TEST(WeakCallback, DoesNotKeepItsOwnerAlive) {
    auto owner = std::make_shared<Owner>();
    const std::weak_ptr<Owner> watched = owner;
    const auto callback = support::WeakCallback(watched, [](Owner&) {});
    owner.reset();
    EXPECT_TRUE(watched.expired());
    callback();
}

TEST(WeakCallback, HoldsItsOwnerForTheLengthOfACall) {
    auto owner = std::make_shared<Owner>();
    const std::weak_ptr<Owner> watched = owner;
    bool aliveInside = false;
    const auto callback = support::WeakCallback(watched, [&owner, &aliveInside, &watched](Owner& self) {
        owner.reset();
        self.heard = "still here";
        aliveInside = !watched.expired();
    });
    callback();
    EXPECT_TRUE(aliveInside);
    EXPECT_TRUE(watched.expired());
}

TEST(WeakCallback, PassesArgumentsOnAsTheyCame) {
    const auto owner = std::make_shared<Owner>();
    const auto callback = support::WeakCallback(std::weak_ptr<Owner>(owner),
                                                [](Owner& self, std::unique_ptr<int> moved, int& changed) {
                                                    self.heard = std::to_string(*moved);
                                                    changed = 2;
                                                });
    int changed = 1;
    callback(std::make_unique<int>(5), changed);
    EXPECT_EQ(owner->heard, "5");
    EXPECT_EQ(changed, 2);
}

TEST(ScopeGuard, RunsAtTheEndOfItsScope) {
    int runs = 0;
    {
        const support::ScopeGuard guard([&runs] { ++runs; });
        EXPECT_EQ(runs, 0);
    }
    EXPECT_EQ(runs, 1);
}

class Thing : private support::Counted<Thing> {
public:
    using support::Counted<Thing>::Alive;
};

TEST(ObjectCount, CountsCopiesAndMovedObjects) {
    {
        Thing first;
        const Thing copy = first;
        const Thing moved = std::move(first);
        Thing assigned;
        assigned = copy;
        EXPECT_EQ(Thing::Alive(), 4);
    }
    EXPECT_EQ(Thing::Alive(), 0);
}

}  // namespace
