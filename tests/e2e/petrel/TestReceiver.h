// The far end of a simulated phone for tests: a webrtcbin that offers to receive, decodes what comes, and
// keeps what the stamps and the samples say.
#pragma once

#include <gst/app/app.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/petrel/GstHandles.h"
#include "support/annotated_mutex.h"
#include "support/frame_stamp.h"

namespace tests {

struct ReceivedPicture {
    int width = 0;
    int height = 0;
    std::optional<support::frame_stamp::Stamp> stamp;
    std::uint64_t arrivalUs = 0;
    int flashLuma = 0;
};

class TestReceiver {
public:
    // Texts for the phone, on any thread.
    using Sender = std::function<void(std::string text)>;

    // `videoFormat` is "H264", "VP8" or "VP9".
    TestReceiver(const std::string& videoFormat, std::string phonesIdentifier, Sender toPhone);
    ~TestReceiver();

    void Offer();
    // What the phone says; anything but its answer and its candidates is ignored.
    void OnMessage(const std::string& text);

    // Waits until `enough` holds for what was received; false when it took too long.
    template <class Enough>
    bool WaitUntil(Enough enough, std::chrono::seconds limit = std::chrono::seconds(15)) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        support::MutexLock lock(mutex);
        while (!enough(pictures, sound)) {
            if (!changed.WaitUntil(mutex, deadline)) return enough(pictures, sound);
        }
        return true;
    }
    bool WaitForAnswer();
    std::vector<ReceivedPicture> Pictures();
    std::vector<std::int16_t> Sound();  // 48 kHz, left channel only
    std::string Answer();
    int ExtendedPackets();  // of the picture, with a header extension

private:
    static void OnPadAdded(GstElement* bin, GstPad* pad, gpointer self);
    static void OnCandidate(GstElement* bin, guint index, gchar* text, gpointer self);
    static GstPadProbeReturn OnVideoPacket(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    static GstFlowReturn OnPicture(GstAppSink* sink, gpointer self);
    static GstFlowReturn OnSound(GstAppSink* sink, gpointer self);
    void SetAnswer(const std::string& sdp);
    void AddCandidate(const std::string& candidate, int lineIndex);

    const std::string identifier;
    const Sender send;
    const std::string format;
    petrel::GstHandle<GstElement> pipeline;
    GstElement* webrtc = nullptr;

    support::Mutex mutex;
    support::Condition changed;
    std::vector<ReceivedPicture> pictures GUARDED_BY(mutex);
    std::vector<std::int16_t> sound GUARDED_BY(mutex);
    std::string answer GUARDED_BY(mutex);
    int extendedPackets GUARDED_BY(mutex) = 0;
};

}  // namespace tests
