// The host's render threads: two that pull pictures and two that pull sound, of all renderers on the shelves.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "host/renderer/nxRenderer2.h"
#include "tests/stress/ActionCounts.h"
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
    void PullPictures(std::uint64_t consumerKey);
    void PullSound(std::uint64_t consumerKey);
    void PullBlock(nxRenderer2& renderer, std::uint64_t consumerKey, std::int64_t timeUs);

    RendererShelves& shelves;
    ActionCounts& counts;
    std::atomic<bool> ending{false};
    std::vector<std::thread> threads;
};

}  // namespace stress
