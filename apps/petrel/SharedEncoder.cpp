#include "apps/petrel/SharedEncoder.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace petrel {
namespace {

constexpr std::int64_t kNsPerSecond = 1'000'000'000;
constexpr std::int64_t kSoundBlockNs = kNsPerSecond * kAudioBlockFrames / kAudioRate;
constexpr std::int64_t kMinimumNsBetweenKeyPictures = 100'000'000;
constexpr std::int64_t kMaximumSoundDelayNs = kNsPerSecond;
constexpr std::int64_t kNsBetweenWarnings = 10 * kNsPerSecond;
// A client asks at once when packets fail to come; a hang is longer than that.
constexpr std::int64_t kShortestHangNs = kNsPerSecond;
// Encoded even though nobody watches, so that the first client does not wait for the encoders to set
// themselves up.
constexpr std::int64_t kWarmUpNs = 200'000'000;

}  // namespace

std::unique_ptr<SharedEncoder> SharedEncoder::Make(const SimulateOptions& options,
                                                   std::unique_ptr<VideoSource> video,
                                                   std::unique_ptr<AudioSource> audio, std::string& error) {
    std::unique_ptr<SharedEncoder> made(new SharedEncoder(options, std::move(video), std::move(audio)));
    if (options.encodeOnce) {
        made->loop = CodedLoop::Encode(options, *made->videoSource, error);
        if (made->loop == nullptr) return nullptr;
    }
    made->encoder = EncoderPipeline::Make(options, made->HasAudio(), made->fanOut, error);
    if (made->encoder == nullptr) return nullptr;
    made->pump = std::thread([raw = made.get()] { raw->Run(); });
    return made;
}

SharedEncoder::SharedEncoder(const SimulateOptions& options, std::unique_ptr<VideoSource> video,
                             std::unique_ptr<AudioSource> audio)
    : codec(options.codec),
      clockRate(1 + options.clockErrorPpm * 1e-6),
      framesPerSecond(options.framesPerSecond),
      videoSource(std::move(video)),
      audioSource(std::move(audio)) {}

SharedEncoder::~SharedEncoder() {
    {
        support::MutexLock lock(mutex);
        stopping = true;
    }
    changed.NotifyOne();
    if (pump.joinable()) pump.join();
}

void SharedEncoder::ShareTimeWith(GstElement* pipeline) const {
    gst_pipeline_use_clock(GST_PIPELINE(pipeline), encoder->Clock());
    gst_element_set_start_time(pipeline, GST_CLOCK_TIME_NONE);
    gst_element_set_base_time(pipeline, encoder->BaseTime());
}

int SharedEncoder::Subscribe(ClientInputs inputs) {
    const int number = fanOut.Add(std::move(inputs));
    state = State::Runs;
    RequestKeyPicture();
    return number;
}

void SharedEncoder::RequestKeyPicture() {
    State hanging = State::HangsUntilKeyPicture;
    if (MediaTimeNs() - hangsSinceNs >= kShortestHangNs) state.compare_exchange_strong(hanging, State::Runs);
    keyPictureRequested = true;
}

void SharedEncoder::Hang(HangUntil until) {
    hangsSinceNs = MediaTimeNs();
    state = until == HangUntil::NewClient ? State::HangsUntilNewClient : State::HangsUntilKeyPicture;
}

// Sound is delivered when its last sample has sounded, a picture when its moment has come, as by a real
// phone.
void SharedEncoder::Run() {
    nextPicture = MediaTimeNs() * framesPerSecond / kNsPerSecond + 1;
    nextSoundBlock = MediaTimeNs() / kSoundBlockNs + 1;
    warmUpUntilNs = MediaTimeNs() + kWarmUpNs;
    while (true) {
        const std::int64_t pictureDue = nextPicture * kNsPerSecond / framesPerSecond;
        const std::int64_t soundDue = HasAudio() ? nextSoundBlock * kSoundBlockNs : pictureDue + 1;
        if (!WaitUntil(std::min(pictureDue, soundDue))) return;
        if (pictureDue <= soundDue) {
            DeliverPicture();
        } else {
            DeliverSound();
        }
    }
}

bool SharedEncoder::WaitUntil(std::int64_t mediaTimeNs) {
    // The pipeline's clock is the system's monotonic one, as is steady_clock.
    const auto elapsedNs = static_cast<std::int64_t>(static_cast<double>(mediaTimeNs) / clockRate);
    const auto due = std::chrono::steady_clock::time_point(
        std::chrono::nanoseconds(static_cast<std::int64_t>(encoder->BaseTime()) + elapsedNs));
    support::MutexLock lock(mutex);
    while (!stopping && changed.WaitUntil(mutex, due)) {
    }
    return !stopping;
}

std::int64_t SharedEncoder::MediaTimeNs() const {
    const GstClockTime elapsedNs = gst_clock_get_time(encoder->Clock()) - encoder->BaseTime();
    return static_cast<std::int64_t>(static_cast<double>(elapsedNs) * clockRate);
}

bool SharedEncoder::IsNeeded(std::int64_t mediaTimeNs) {
    return fanOut.HasClients() || mediaTimeNs < warmUpUntilNs;
}

void SharedEncoder::DeliverPicture() {
    // A moment that has passed altogether is left out: a late picture would only make the next one late too.
    const std::int64_t current = MediaTimeNs() * framesPerSecond / kNsPerSecond;
    if (current > nextPicture) {
        const std::int64_t now = MediaTimeNs();
        if (lastWarningNs == 0 || now - lastWarningNs > kNsBetweenWarnings) {
            spdlog::warn("this machine is too slow: {} pictures left out", current - nextPicture);
            lastWarningNs = now;
        }
        nextPicture = current;
    }
    const std::int64_t number = nextPicture++;
    const std::int64_t timeNs = number * kNsPerSecond / framesPerSecond;
    if (!IsNeeded(timeNs) || state != State::Runs) return;
    if (loop != nullptr) return SendAgain(number, timeNs);

    GstHandle<GstBuffer> picture = videoSource->NextPicture(timeNs / 1000);
    if (picture == nullptr) return;
    if (timeNs - lastKeyPictureNs >= kMinimumNsBetweenKeyPictures && keyPictureRequested.exchange(false)) {
        encoder->ForceKeyPicture();
        lastKeyPictureNs = timeNs;
    }
    encoder->PushPicture(std::move(picture), videoSource->LatestPosture(), static_cast<GstClockTime>(timeNs));
}

void SharedEncoder::SendAgain(std::int64_t number, std::int64_t timeNs) {
    const CodedLoop::Picture& picture = loop->At(number);
    const GstHandle<GstBuffer> unit(gst_buffer_copy(picture.unit.get()));  // shares its memory
    GST_BUFFER_PTS(unit.get()) = static_cast<GstClockTime>(timeNs);
    fanOut.PushVideo(unit.get(), picture.caps.get());
}

void SharedEncoder::DeliverSound() {
    const std::int64_t current = MediaTimeNs() / kSoundBlockNs;
    if ((current - nextSoundBlock) * kSoundBlockNs > kMaximumSoundDelayNs) nextSoundBlock = current;
    const std::int64_t timeNs = nextSoundBlock * kSoundBlockNs;
    const std::int64_t firstFrame = nextSoundBlock++ * kAudioBlockFrames;
    if (!IsNeeded(timeNs)) return;
    constexpr gsize kBytes = kAudioBlockFrames * kAudioChannels * sizeof(std::int16_t);
    GstHandle<GstBuffer> block(gst_buffer_new_allocate(nullptr, kBytes, nullptr));
    GstMapInfo map;
    if (!gst_buffer_map(block.get(), &map, GST_MAP_WRITE)) return;
    audioSource->NextBlock(firstFrame, reinterpret_cast<std::int16_t*>(map.data));
    gst_buffer_unmap(block.get(), &map);
    GST_BUFFER_DURATION(block.get()) = static_cast<GstClockTime>(kSoundBlockNs);
    encoder->PushSound(std::move(block), static_cast<GstClockTime>(timeNs));
}

}  // namespace petrel
