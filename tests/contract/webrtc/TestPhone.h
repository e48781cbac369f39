// The far end of a peer connection: a sender on a webrtcbin of its own, which shares nothing with the
// library under test. It answers an offer, or makes one.
#pragma once

#include <gst/gst.h>
#include <gst/webrtc/webrtc.h>

#include <atomic>
#include <functional>
#include <string>

#include "support/annotated_mutex.h"

namespace contract {

class TestPhone {
public:
    struct Options {
        std::string codec = "H264";  // H264, VP8 or VP9
        int width = 320;
        int height = 240;
        int framesPerSecond = 30;
        bool sendVideo = true;
        bool sendAudio = true;
        double toneHertz = 1000;
        std::string pattern = "smpte";
    };

    // Called on threads of GStreamer's.
    std::function<void(const std::string& sdp)> onDescription;
    std::function<void(unsigned int lineIndex, const std::string& candidate)> onCandidate;

    explicit TestPhone(Options phoneOptions) : options(std::move(phoneOptions)) {}
    ~TestPhone() { Vanish(); }
    TestPhone(const TestPhone&) = delete;
    TestPhone& operator=(const TestPhone&) = delete;

    void Answer(const std::string& offer);
    void Offer();
    void TakeAnswer(const std::string& answer);
    void AddCandidate(unsigned int lineIndex, const std::string& candidate);
    int PicturesSent() const { return picturesSent; }
    // Stops without a word to the other side.
    void Vanish();

private:
    void Build(const std::string& offer);
    void SetRemote(const std::string& sdp, bool isOffer);
    static void OnMade(GstPromise* promise, gpointer data);
    void Deliver(GstWebRTCSessionDescription* description);

    GstElement* Webrtc();

    const Options options;
    bool offers = false;
    std::atomic<int> picturesSent{0};
    support::Mutex mutex;
    GstElement* pipeline GUARDED_BY(mutex) = nullptr;
    GstElement* webrtc GUARDED_BY(mutex) = nullptr;
};

}  // namespace contract
