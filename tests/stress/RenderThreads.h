// The host's render threads: two that pull pictures and two that pull sound, of all renderers on the shelves.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>

#include "host/renderer/nxRenderer2.h"
#include "tests/stress/ActionCounts.h"
#include "tests/stress/PacedThread.h"
#include "tests/stress/Shelf.h"

namespace stress {

struct RendererShelves {
    Shelf<std::shared_ptr<nxRenderer2>> pictures;
    Shelf<std::shared_ptr<nxRenderer2>> sounds;
};

class RenderThreads {
public:
    RenderThreads(RendererShelves& rendererShelves, ActionCounts& actionCounts);
    ~RenderThreads();
    RenderThreads(const RenderThreads&) = delete;
    RenderThreads& operator=(const RenderThreads&) = delete;

private:
    void PullPictures(PacedThread& self, std::uint64_t consumerKey);
    void PullSound(PacedThread& self, std::uint64_t consumerKey);
    void PullBlock(nxRenderer2& renderer, std::uint64_t consumerKey, std::int64_t timeUs);

    RendererShelves& shelves;
    ActionCounts& counts;
    std::deque<PacedThread> threads;
};

}  // namespace stress
