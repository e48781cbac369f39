#include "webrtc_gstreamer/Promise.h"

#include <chrono>

#include "support/annotated_mutex.h"
#include "webrtc_gstreamer/Crossing.h"

namespace webrtc_gstreamer {
namespace {

constexpr auto kLongestWait = std::chrono::seconds(10);

}  // namespace

struct Promise::State {
    support::Mutex mutex;
    support::Condition changed;
    bool done GUARDED_BY(mutex) = false;
    bool replied GUARDED_BY(mutex) = false;
    StructurePointer reply GUARDED_BY(mutex);

    void OnChange(GstPromise* changedPromise) {
        const bool hasReply = gst_promise_wait(changedPromise) == GST_PROMISE_RESULT_REPLIED;
        const GstStructure* content = hasReply ? gst_promise_get_reply(changedPromise) : nullptr;
        const support::MutexLock lock(mutex);
        done = true;
        replied = hasReply;
        if (content != nullptr) reply.reset(gst_structure_copy(content));
        changed.NotifyAll();
    }
};

Promise::Promise() : state(std::make_shared<State>()) {
    using Shared = std::shared_ptr<State>;
    const Crossing crossing;
    promise.reset(gst_promise_new_with_change_func(
        [](GstPromise* changedPromise, gpointer data) {
            const Crossing inCallback;
            (*static_cast<Shared*>(data))->OnChange(changedPromise);
        },
        new Shared(state),
        [](gpointer data) {
            const Crossing atItsEnd;
            delete static_cast<Shared*>(data);
        }));
}

Promise::~Promise() = default;

Promise::Outcome Promise::Wait(StructurePointer& reply) {
    const auto deadline = std::chrono::steady_clock::now() + kLongestWait;
    const support::MutexLock lock(state->mutex);
    while (!state->done) {
        if (!state->changed.WaitUntil(state->mutex, deadline) && !state->done) return Outcome::TimedOut;
    }
    reply = std::move(state->reply);
    return state->replied ? Outcome::Answered : Outcome::Refused;
}

}  // namespace webrtc_gstreamer
