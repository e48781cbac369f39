// Threads of no particular kind: they use what may be used from any thread, and ask the main thread for the
// rest.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "tests/stress/ActionCounts.h"
#include "tests/stress/Dice.h"
#include "tests/stress/RenderThreads.h"

namespace stress {

class Callers {
public:
    // `act` is posted to the main thread again and again, as fast as it is done.
    Callers(std::uint64_t seed, RendererShelves& rendererShelves, ActionCounts& actionCounts,
            std::function<void()> actOnMainThread);
    ~Callers();
    Callers(const Callers&) = delete;
    Callers& operator=(const Callers&) = delete;

private:
    void Run(Dice dice);
    void UsePicture(nxRenderer2& renderer, Dice& dice);
    void UseSound(nxRenderer2& renderer, Dice& dice);
    void AskFormat(nxRenderer2& renderer);

    RendererShelves& shelves;
    ActionCounts& counts;
    const std::function<void()> act;
    std::atomic<bool> ending{false};
    std::vector<std::thread> threads;
};

}  // namespace stress
