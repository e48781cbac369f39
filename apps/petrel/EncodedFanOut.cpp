#include "apps/petrel/EncodedFanOut.h"

#include <algorithm>
#include <utility>

namespace petrel {
namespace {

// A client whose network does not take its media any more loses it here instead of filling the memory.
constexpr guint64 kMaximumWaitingPictures = 30;
constexpr guint64 kMaximumWaitingPackets = 50;

}  // namespace

int EncodedFanOut::Add(ClientInputs inputs) {
    support::MutexLock lock(mutex);
    Client client;
    client.number = nextNumber++;
    client.inputs = std::move(inputs);
    clients.push_back(std::move(client));
    return clients.back().number;
}

void EncodedFanOut::Remove(int number) {
    Client removed;  // released after the lock
    support::MutexLock lock(mutex);
    const auto found = std::find_if(clients.begin(), clients.end(),
                                    [number](const Client& client) { return client.number == number; });
    if (found == clients.end()) return;
    removed = std::move(*found);
    clients.erase(found);
    lock.Unlock();
}

bool EncodedFanOut::HasClients() {
    support::MutexLock lock(mutex);
    return !clients.empty();
}

// The pushes below happen under the lock, so that nothing reaches a client after Remove; they only queue.
void EncodedFanOut::PushVideo(GstBuffer* unit, GstCaps* caps) {
    const bool isKey = !GST_BUFFER_FLAG_IS_SET(unit, GST_BUFFER_FLAG_DELTA_UNIT);
    support::MutexLock lock(mutex);
    for (Client& client : clients) {
        GstAppSrc* input = client.inputs.video.get();
        if (input == nullptr) continue;
        if (gst_app_src_get_current_level_buffers(input) >= kMaximumWaitingPictures) {
            client.waitsForKey = true;
            continue;
        }
        if (client.waitsForKey && !isKey) continue;
        client.waitsForKey = false;
        if (client.videoCaps.get() != caps) {
            client.videoCaps.reset(gst_caps_ref(caps));
            gst_app_src_set_caps(input, caps);
        }
        gst_app_src_push_buffer(input, gst_buffer_ref(unit));
    }
}

void EncodedFanOut::PushAudio(GstBuffer* packet, GstCaps* caps) {
    support::MutexLock lock(mutex);
    for (Client& client : clients) {
        GstAppSrc* input = client.inputs.audio.get();
        if (input == nullptr) continue;
        if (gst_app_src_get_current_level_buffers(input) >= kMaximumWaitingPackets) continue;
        if (!client.knowsAudioCaps) gst_app_src_set_caps(input, caps);
        client.knowsAudioCaps = true;
        gst_app_src_push_buffer(input, gst_buffer_ref(packet));
    }
}

}  // namespace petrel
