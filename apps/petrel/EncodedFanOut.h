// Hands every encoded picture and sound packet to all clients that are streaming.
#pragma once

#include <gst/app/app.h>

#include <vector>

#include "apps/petrel/CodedMediaSink.h"
#include "apps/petrel/GstHandles.h"
#include "support/annotated_mutex.h"

namespace petrel {

// A client's entrances; either may be null.
struct ClientInputs {
    GstHandle<GstAppSrc> video;
    GstHandle<GstAppSrc> audio;
};

class EncodedFanOut : public CodedMediaSink {
public:
    // [any-thread] The client's pictures begin with the next key picture. The number is for Remove.
    int Add(ClientInputs inputs);
    void Remove(int number);
    bool HasClients();

    // The timestamps hold in every client's pipeline.
    void PushVideo(GstBuffer* unit, GstCaps* caps) override;
    void PushAudio(GstBuffer* packet, GstCaps* caps) override;

private:
    struct Client {
        int number = 0;
        ClientInputs inputs;
        bool waitsForKey = true;
        GstHandle<GstCaps> videoCaps;  // as told last
        bool knowsAudioCaps = false;
    };

    support::Mutex mutex;
    std::vector<Client> clients GUARDED_BY(mutex);
    int nextNumber GUARDED_BY(mutex) = 1;
};

}  // namespace petrel
