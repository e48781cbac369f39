// Carries one value from one thread to another, with a deadline. Copies are handles of the same box, so
// that a script may outlive the test that waits for it.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <utility>

#include "support/annotated_mutex.h"

namespace tests {

template <class T>
class Box {
public:
    void Put(T toCarry) const {
        const support::MutexLock lock(shared->mutex);
        shared->value = std::move(toCarry);
        shared->changed.NotifyAll();
    }

    // Waits for the value; an empty one, and a failure of the test, when it does not come.
    T Take() const {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(8);
        const support::MutexLock lock(shared->mutex);
        while (!shared->value) {
            if (!shared->changed.WaitUntil(shared->mutex, deadline)) break;
        }
        if (shared->value) return *shared->value;
        ADD_FAILURE() << "nothing came in time";
        return {};
    }

private:
    struct Shared {
        support::Mutex mutex;
        support::Condition changed;
        std::optional<T> value GUARDED_BY(mutex);
    };

    std::shared_ptr<Shared> shared = std::make_shared<Shared>();
};

// Stays shut until it is opened.
class Gate {
public:
    void Open() const { box.Put(true); }
    void Wait() const { box.Take(); }

private:
    Box<bool> box;
};

}  // namespace tests
