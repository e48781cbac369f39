// What a user would write instead: webrtcbin, decodebin, videoconvert to UYVY, and nothing else. It receives
// from the same phone, with the same messages. One that only decodes has no conversion of pictures or sound:
// the least that this engine and its decoders cost.
#pragma once

#include <gst/app/app.h>

#include <memory>
#include <string>

#include "apps/petrel/GstHandles.h"
#include "benchmarks/streams/StreamWatch.h"
#include "support/annotated_mutex.h"

class cWebSocket;

namespace benchmarks {

class BareReceiver {
public:
    enum class Work { Convert, OnlyDecode };

    BareReceiver(const std::string& address, Work wanted);
    ~BareReceiver();
    BareReceiver(const BareReceiver&) = delete;
    BareReceiver& operator=(const BareReceiver&) = delete;

    // Reads stamps only from converted pictures.
    StreamWatch& Watch() { return watch; }

private:
    void OnMessage(const std::string& text);
    void Offer();
    void SetAnswer(const std::string& sdp);
    void Send(const std::string& text);

    static void OnPadAdded(GstElement* bin, GstPad* pad, gpointer self);
    static void OnCandidate(GstElement* bin, guint index, gchar* text, gpointer self);
    static GstFlowReturn OnPicture(GstAppSink* sink, gpointer self);
    static GstFlowReturn OnDecodedPicture(GstAppSink* sink, gpointer self);
    static GstFlowReturn OnSound(GstAppSink* sink, gpointer self);

    const Work work;
    StreamWatch watch;
    std::shared_ptr<cWebSocket> socket;
    petrel::GstHandle<GstElement> pipeline;
    GstElement* webrtc = nullptr;  // the pipeline's
    support::Mutex mutex;
    std::string phone GUARDED_BY(mutex);  // its identifier
};

}  // namespace benchmarks
