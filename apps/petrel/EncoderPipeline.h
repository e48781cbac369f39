// The one pipeline that encodes for all phones and clients: raw pictures and sound in, coded ones out.
#pragma once

#include <gst/app/app.h>

#include <memory>
#include <string>

#include "apps/petrel/CodedMediaSink.h"
#include "apps/petrel/GstHandles.h"
#include "apps/petrel/MediaSource.h"
#include "apps/petrel/SimulateOptions.h"
#include "support/annotated_mutex.h"

namespace petrel {

class EncoderPipeline {
public:
    // Null with a sentence in `error` when an encoder is missing. The sink must outlive it.
    static std::unique_ptr<EncoderPipeline> Make(const SimulateOptions& options, bool withAudio,
                                                 CodedMediaSink& sink, std::string& error);
    ~EncoderPipeline();
    EncoderPipeline(const EncoderPipeline&) = delete;
    EncoderPipeline& operator=(const EncoderPipeline&) = delete;

    // All pipelines share this clock and base time, so one timestamp means the same moment in each. Where
    // pictures are encoded once, a loop of them (frame_stamp.h) begins at the base.
    GstClock* Clock() const { return clock.get(); }
    GstClockTime BaseTime() const { return baseTime; }

    // [any-thread] The next picture pushed becomes a key picture.
    void ForceKeyPicture();
    // A change of the posture begins with a key picture of the new size. [the pump's thread]
    void PushPicture(GstHandle<GstBuffer> picture, Posture posture, GstClockTime time);
    void PushSound(GstHandle<GstBuffer> block, GstClockTime time);

private:
    explicit EncoderPipeline(CodedMediaSink& toFeed) : coded(toFeed) {}
    bool Build(const SimulateOptions& options, bool withAudio, std::string& error);
    void SwapWidthAndHeight();
    GstHandle<GstBuffer> AtRunningTime(GstSample* sample);
    static GstFlowReturn OnVideoSample(GstAppSink* sink, gpointer self);
    static GstFlowReturn OnAudioSample(GstAppSink* sink, gpointer self);

    CodedMediaSink& coded;
    GstHandle<GstElement> pipeline;
    GstHandle<GstElement> videoEncoder;
    GstHandle<GstAppSrc> videoInput;
    Posture pushedPosture = Posture::AsAsked;
    GstHandle<GstAppSrc> audioInput;
    GstHandle<GstClock> clock;
    GstClockTime baseTime = 0;
    // Taken on both sides of the encoders: GStreamer orders the two sides too, but in a way that no checker
    // of threads sees.
    support::Mutex handOver;  // guards no field
};

}  // namespace petrel
