// Threads of no particular kind: they use what may be used from any thread, and ask the main thread for the
// rest.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>

#include "tests/stress/ActionCounts.h"
#include "tests/stress/Dice.h"
#include "tests/stress/PacedThread.h"
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
    void Run(PacedThread& self, Dice dice);
    void UsePicture(nxRenderer2& renderer, Dice& dice);
    void UseSound(nxRenderer2& renderer, Dice& dice);
    void AskFormat(nxRenderer2& renderer);

    RendererShelves& shelves;
    ActionCounts& counts;
    const std::function<void()> act;
    std::deque<PacedThread> threads;
};

}  // namespace stress
