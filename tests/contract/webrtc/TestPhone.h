// The far end of a peer connection: a sender on a webrtcbin of its own, which shares nothing with the
// library under test. It answers an offer, or makes one.
#pragma once

#include <gst/gst.h>
#include <gst/webrtc/webrtc.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

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
        int keyFrameDistance = 30;
        // Each second picture is sent together with the next one.
        bool sendsTwoAtATime = false;
    };
    enum class Media { Picture, Sound };
    enum class Until { KeyRequest, NewOffer, Told };

    // Called on threads of GStreamer's.
    std::function<void(const std::string& sdp)> onDescription;
    std::function<void(unsigned int lineIndex, const std::string& candidate)> onCandidate;
    // A packet was lost as it was told to be, or the other side asks for one.
    std::function<void(Media media, std::uint16_t number)> onPacketLost;
    std::function<void(Media media, std::uint16_t number)> onPacketRequest;
    // A packet of RTCP arrived, of whatever stream.
    std::function<void()> onReport;

    explicit TestPhone(Options phoneOptions) : options(std::move(phoneOptions)) {}
    ~TestPhone() { Vanish(); }
    TestPhone(const TestPhone&) = delete;
    TestPhone& operator=(const TestPhone&) = delete;

    // A further offer with another transport begins anew.
    void Answer(const std::string& offer);
    void Offer();
    void TakeAnswer(const std::string& answer);
    void AddCandidate(unsigned int lineIndex, const std::string& candidate);
    int PicturesSent() const { return picturesSent; }
    // Camera or microphone deliver nothing, although everything else goes on.
    void Freeze(Media media, Until until);
    void Thaw();
    // Key frames do not leave the phone any more, or do again.
    void LoseKeyFrames(bool lose) { losesKeyFrames = lose; }
    // The last packet of the next picture, or the next packet of sound.
    void LosePacket(Media media) { (media == Media::Picture ? losesPictureEnd : losesSound) = true; }
    // From the last freezing of the picture to the first request for a key frame; nothing when none came.
    // What is asked for in the first second, because of the packets that are missing then, is lost on the
    // way.
    std::optional<std::chrono::microseconds> KeyRequestAfter() const;
    // From the next offer on.
    void SendPictureNoMore() { options.sendVideo = false; }
    // Ends the streams properly, by goodbyes (RFC 3550, section 6.6), and stays connected.
    void EndStreams();
    // Stops without a word to the other side.
    void Vanish();

private:
    void Build(const std::string& offer);
    static GstPadProbeReturn OnCameraPicture(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    static GstPadProbeReturn OnMicrophoneSound(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    static GstPadProbeReturn OnEncodedPicture(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    static GstPadProbeReturn OnPicturePacket(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    GstPadProbeReturn HoldPacket(GstPad* pad, GstPadProbeInfo* info, bool endsPicture);
    static GstPadProbeReturn OnSoundPacket(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    static void OnElementAdded(GstBin* bin, GstBin* inside, GstElement* element, gpointer self);
    static void OnReport(GObject* session, GstBuffer* report, gpointer self);
    static void OnFeedback(GObject* session, guint type, guint kind, guint sender, guint stream,
                           GstBuffer* numbers, gpointer self);
    static GstPadProbeReturn OnRequest(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    void SetRemote(const std::string& sdp, bool isOffer);
    static void OnMade(GstPromise* promise, gpointer data);
    void Deliver(GstWebRTCSessionDescription* description);

    GstElement* Webrtc();

    Options options;
    std::string offeredTransport;
    bool offers = false;
    std::atomic<int> picturesSent{0};
    std::atomic<bool> pictureFrozen{false};
    std::atomic<bool> soundFrozen{false};
    std::atomic<bool> losesKeyFrames{false};
    std::atomic<bool> losesPictureEnd{false};
    std::atomic<bool> losesSound{false};
    std::atomic<std::uint32_t> soundStream{0};
    // Used on the thread that makes the packets, and when it has ended.
    std::vector<GstBuffer*> heldPackets;
    int heldPictures = 0;
    bool sendsHeld = false;
    std::atomic<Until> frozenUntil{Until::Told};
    std::atomic<std::int64_t> frozenAtUs{0};
    std::atomic<std::int64_t> keyRequestAfterUs{-1};
    support::Mutex mutex;
    GstElement* pipeline GUARDED_BY(mutex) = nullptr;
    GstElement* webrtc GUARDED_BY(mutex) = nullptr;
};

}  // namespace contract
