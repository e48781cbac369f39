#include "plugin/ListenerSet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ListenerSets : public testing::Test {
protected:
    ListenerSet<const char*>::Callable Writing(const std::string& name) {
        return [this, name](const char* text) { told.push_back(name + " " + text); };
    }
    ListenerSet<const char*> set;
    std::vector<std::string> told;
    const std::shared_ptr<zObject> owner = std::make_shared<zObject>();
    const std::shared_ptr<zObject> other = std::make_shared<zObject>();
};

TEST_F(ListenerSets, TellInTheOrderOfRegistration) {
    set.Add(owner, Writing("a"));
    set.Add(other, Writing("b"));
    set.Notify("1");
    set.Add(owner, Writing("c"));
    set.Notify("2");
    EXPECT_THAT(told, ElementsAre("a 1", "b 1", "a 2", "b 2", "c 2"));
}

TEST_F(ListenerSets, TakeNeitherNullOwnersNorNullListeners) {
    set.Add(nullptr, Writing("a"));
    set.Add(owner, nullptr);
    set.Notify("1");
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(ListenerSets, ForgetAllListenersOfAnOwner) {
    set.Add(owner, Writing("a"));
    set.Add(other, Writing("b"));
    set.Notify("1");
    set.Add(owner, Writing("c"));
    set.Remove(owner);
    set.Remove(nullptr);
    set.Notify("2");
    EXPECT_THAT(told, ElementsAre("a 1", "b 1", "b 2"));
}

TEST_F(ListenerSets, KeepTheOwnerAliveUntilItIsRemoved) {
    auto temporary = std::make_shared<zObject>();
    const std::weak_ptr<zObject> watched = temporary;
    set.Add(temporary, Writing("a"));
    temporary.reset();
    EXPECT_FALSE(watched.expired());
    set.Remove(watched.lock());
    EXPECT_TRUE(watched.expired());
}

TEST_F(ListenerSets, LetAListenerAddAndRemove) {
    set.Add(owner, [this](const char*) {
        set.Remove(owner);
        set.Add(other, Writing("late"));
    });
    set.Add(owner, Writing("removed while being told"));
    set.Notify("1");
    set.Notify("2");
    EXPECT_THAT(told, ElementsAre("removed while being told 1", "late 2"));
}

}  // namespace
