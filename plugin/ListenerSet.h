#pragma once

#include <functional>
#include <list>
#include <memory>
#include <utility>

#include "host/core/zObject.h"

// Callables that are told of an event, each with an owner that stays alive until it is removed.
// [main-thread]
template <class... Arguments>
class ListenerSet {
public:
    using Callable = std::function<void(Arguments...)>;

    // Told from the next notification on. Without an owner or a callable nothing is added.
    void Add(std::shared_ptr<zObject> owner, Callable callable) {
        if (owner && callable) pending.push_back({std::move(owner), std::move(callable)});
    }

    // Removes all callables of this owner.
    void Remove(const std::shared_ptr<zObject>& owner) {
        const auto isOwned = [&owner](const Listener& listener) { return listener.owner == owner; };
        active.remove_if(isOwned);
        pending.remove_if(isOwned);
    }

    // In the order of registration, over a copy: a listener may add or remove listeners.
    void Notify(Arguments... arguments) {
        active.splice(active.end(), pending);
        const std::list<Listener> told = active;
        for (const Listener& listener : told)
            listener.callable(arguments...);
    }

private:
    struct Listener {
        std::shared_ptr<zObject> owner;
        Callable callable;
    };

    std::list<Listener> active;
    std::list<Listener> pending;  // added since the last notification
};
