#pragma once

#include <memory>
#include <utility>

namespace support {

// A callable that runs `function(owner, arguments...)` while the owner lives and does nothing afterwards.
// The owner is held strongly for the length of the call.
template <class Owner, class Function>
auto WeakCallback(std::weak_ptr<Owner> weakOwner, Function function) {
    return [weakOwner = std::move(weakOwner), function = std::move(function)](auto&&... arguments) {
        if (const std::shared_ptr<Owner> owner = weakOwner.lock()) {
            function(*owner, std::forward<decltype(arguments)>(arguments)...);
        }
    };
}

}  // namespace support
