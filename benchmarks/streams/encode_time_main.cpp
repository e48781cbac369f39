// How much of a picture's age is made at the sender: the simulated phone's encoding, at its own
// pace and with its own encoder. One JSON line: milliseconds from the stamp to the coded picture.
#include <gst/app/app.h>

#include <chrono>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "apps/petrel/EncodedFanOut.h"
#include "apps/petrel/EncoderPipeline.h"
#include "apps/petrel/PatternSource.h"
#include "benchmarks/streams/Commands.h"
#include "benchmarks/streams/StreamWatch.h"
#include "support/annotated_mutex.h"

namespace {

using petrel::GstHandle;

constexpr int kPictures = 150;
constexpr std::size_t kWarmUpPictures = 15;
constexpr std::chrono::microseconds kPeriod{33'333};

// Which picture came coded, and when. A busy machine leaves some out.
struct Coded {
    struct Picture {
        std::size_t number = 0;
        std::int64_t atUs = 0;
    };
    support::Mutex mutex;
    std::vector<Picture> pictures GUARDED_BY(mutex);
};

GstPadProbeReturn OnCoded(GstPad*, GstPadProbeInfo* info, gpointer data) {
    auto* const coded = static_cast<Coded*>(data);
    const std::int64_t nowUs = benchmarks::NowUs();
    const std::chrono::nanoseconds time(GST_BUFFER_PTS(GST_PAD_PROBE_INFO_BUFFER(info)));
    const auto number = static_cast<std::size_t>((time + kPeriod / 2) / kPeriod);
    const support::MutexLock lock(coded->mutex);
    coded->pictures.push_back({number, nowUs});
    return GST_PAD_PROBE_OK;
}

// A client of the encoder that throws everything away.
GstHandle<GstElement> MakeClient(petrel::EncodedFanOut& fanOut, Coded& coded) {
    GstHandle<GstElement> client(GST_ELEMENT(gst_object_ref_sink(
        gst_parse_launch("appsrc name=in format=time ! fakesink sync=false async=false", nullptr))));
    petrel::ClientInputs inputs;
    inputs.video.reset(GST_APP_SRC(gst_bin_get_by_name(GST_BIN(client.get()), "in")));
    const GstHandle<GstPad> pad(gst_element_get_static_pad(GST_ELEMENT(inputs.video.get()), "src"));
    gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, OnCoded, &coded, nullptr);
    gst_element_set_state(client.get(), GST_STATE_PLAYING);
    fanOut.Add(std::move(inputs));
    return client;
}

}  // namespace

int main(int argc, char** argv) {
    gst_init(&argc, &argv);
    petrel::SimulateOptions options;
    options.width = 1920;
    options.height = 1080;
    Coded coded;
    petrel::EncodedFanOut fanOut;
    const GstHandle<GstElement> client = MakeClient(fanOut, coded);
    std::string error;
    auto encoder = petrel::EncoderPipeline::Make(options, false, fanOut, error);
    if (!encoder) {
        std::fprintf(stderr, "encode_time: %s\n", error.c_str());
        return 1;
    }
    petrel::PatternSource pattern(options.width, options.height);
    std::vector<std::int64_t> stampedAtUs;
    auto due = std::chrono::steady_clock::now();
    for (int picture = 0; picture < kPictures; ++picture) {
        const auto mediaTime = kPeriod * picture;
        GstHandle<GstBuffer> painted = pattern.NextPicture(mediaTime.count());
        stampedAtUs.push_back(benchmarks::NowUs());
        encoder->PushPicture(std::move(painted), petrel::Posture::AsAsked,
                             static_cast<GstClockTime>(std::chrono::nanoseconds(mediaTime).count()));
        due += kPeriod;
        std::this_thread::sleep_until(due);
    }
    encoder.reset();
    gst_element_set_state(client.get(), GST_STATE_NULL);

    const support::MutexLock lock(coded.mutex);
    std::vector<double> milliseconds;
    for (const Coded::Picture& picture : coded.pictures) {
        if (picture.number < kWarmUpPictures || picture.number >= stampedAtUs.size()) continue;
        milliseconds.push_back(static_cast<double>(picture.atUs - stampedAtUs[picture.number]) / 1000.0);
    }
    benchmarks::Say(
        nlohmann::json{{"event", "result"}, {"encodeMs", benchmarks::Percentiles(milliseconds)}}.dump() +
        "\n");
    return milliseconds.empty() ? 1 : 0;
}
