// What GStreamer's threads hold of a PeerMedia: enough to send it a job, not enough to keep it alive or to
// touch it.
#pragma once

#include <memory>
#include <utility>

#include "apps/petrel/PeerMedia.h"

namespace petrel {

struct PeerMedia::Link {
    std::weak_ptr<PeerMedia> owner;
    ControlLoop* loop = nullptr;
    Step step = Step::OfferSet;  // of a promise

    // Runs `function(owner)` on the control thread if the owner is still there.
    template <class Function>
    void Post(Function function) const {
        loop->Post([weak = owner, function = std::move(function)] {
            if (const std::shared_ptr<PeerMedia> alive = weak.lock()) function(*alive);
        });
    }

    static void Delete(gpointer link) { delete static_cast<Link*>(link); }
    static void DeleteWithClosure(gpointer link, GClosure*) { Delete(link); }
};

}  // namespace petrel
