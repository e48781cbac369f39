// Live media, encoded once for whoever streams: paces the sources by the clock, feeds the encoder, and makes
// key pictures when clients need them.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

#include "apps/petrel/CodedLoop.h"
#include "apps/petrel/EncodedFanOut.h"
#include "apps/petrel/EncoderPipeline.h"
#include "apps/petrel/MediaSource.h"
#include "apps/petrel/SimulateOptions.h"
#include "support/annotated_mutex.h"
#include "support/object_count.h"

namespace petrel {

// What ends a hang of the encoder; a key picture does so after a second at the earliest.
enum class HangUntil { KeyPictureIsAsked, NewClient };

class SharedEncoder : private support::Counted<SharedEncoder> {
public:
    using Counted::Alive;

    // `audio` null: no sound. What is to be encoded once is encoded here, which takes seconds. Null with a
    // sentence in `error` when it cannot be made.
    static std::unique_ptr<SharedEncoder> Make(const SimulateOptions& options,
                                               std::unique_ptr<VideoSource> video,
                                               std::unique_ptr<AudioSource> audio, std::string& error);
    ~SharedEncoder();

    bool HasAudio() const { return audioSource != nullptr; }
    VideoCodec Codec() const { return codec; }

    // Give a client's pipeline the time that the coded media is stamped with.
    void ShareTimeWith(GstElement* pipeline) const;

    // [any-thread] Streams to the client until Unsubscribe; its first picture is a key picture.
    int Subscribe(ClientInputs inputs);
    void Unsubscribe(int number) { fanOut.Remove(number); }

    // [any-thread] A client lost pictures. Wishes in quick succession are answered by one key picture; what
    // was encoded once has one every two seconds.
    void RequestKeyPicture();

    // [any-thread] For tests of the other side: no picture is encoded any more, while sound and connections
    // go on.
    void Hang(HangUntil until);

private:
    SharedEncoder(const SimulateOptions& options, std::unique_ptr<VideoSource> video,
                  std::unique_ptr<AudioSource> audio);
    void Run();
    bool WaitUntil(std::int64_t mediaTimeNs);  // false when stopping
    std::int64_t MediaTimeNs() const;
    bool IsNeeded(std::int64_t mediaTimeNs);
    void DeliverPicture();
    void SendAgain(std::int64_t number, std::int64_t timeNs);
    void DeliverSound();

    const VideoCodec codec;
    const double clockRate;  // seconds of the phone in a second
    const int framesPerSecond;
    const std::unique_ptr<VideoSource> videoSource;  // used by the pump thread only, like audioSource
    const std::unique_ptr<AudioSource> audioSource;
    EncodedFanOut fanOut;
    std::unique_ptr<CodedLoop> loop;  // null: every picture is encoded when it is due
    std::unique_ptr<EncoderPipeline> encoder;
    std::atomic<bool> keyPictureRequested{false};
    enum class State { Runs, HangsUntilKeyPicture, HangsUntilNewClient };
    std::atomic<State> state{State::Runs};
    std::atomic<std::int64_t> hangsSinceNs{0};

    // Pump thread only.
    std::int64_t nextPicture = 0;
    std::int64_t nextSoundBlock = 0;
    std::int64_t lastKeyPictureNs = 0;
    std::int64_t lastWarningNs = 0;
    std::int64_t warmUpUntilNs = 0;

    support::Mutex mutex;
    support::Condition changed;
    bool stopping GUARDED_BY(mutex) = false;
    std::thread pump;
};

}  // namespace petrel
