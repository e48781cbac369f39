#include "apps/petrel/Simulator.h"

#include <utility>

#include "apps/petrel/BeepTone.h"
#include "apps/petrel/FileSource.h"
#include "apps/petrel/PatternSource.h"

namespace petrel {
namespace {

std::unique_ptr<VideoSource> MakeVideo(const SimulateOptions& options, std::string& error) {
    if (options.video == "pattern") {
        return std::make_unique<PatternSource>(
            options.width, options.height, options.secondsBetweenTurns,
            options.encodeOnce ? StampedTime::Asked : StampedTime::Painted);
    }
    return FileVideoSource::Open(options.video, options.width, options.height, options.framesPerSecond,
                                 error);
}

std::unique_ptr<AudioSource> MakeAudio(const SimulateOptions& options, std::string& error) {
    if (options.audio == "none") return nullptr;
    if (options.audio == "beeps") return std::make_unique<BeepTone>();
    return FileAudioSource::Open(options.audio, error);
}

// GStreamer makes its DTLS key when first asked for it, and it costs a good part of a second on a small
// machine: now, not when the first client waits.
void MakeKey() {
    if (GstElement* user = gst_element_factory_make("dtlsdec", nullptr))
        gst_object_unref(gst_object_ref_sink(user));
}

}  // namespace

std::unique_ptr<Simulator> Simulator::Start(const SimulateOptions& options, std::uint16_t port,
                                            std::string& error) {
    error.clear();
    std::unique_ptr<VideoSource> video = MakeVideo(options, error);
    std::unique_ptr<AudioSource> audio = error.empty() ? MakeAudio(options, error) : nullptr;
    if (!error.empty()) return nullptr;

    std::unique_ptr<Simulator> simulator(new Simulator);
    simulator->encoder = SharedEncoder::Make(options, std::move(video), std::move(audio), error);
    if (simulator->encoder == nullptr) return nullptr;
    MakeKey();
    const Studio studio{simulator->loop, *simulator->encoder};
    std::vector<AnnouncedPhone> announced;
    for (const std::string& address : options.addresses) {
        const PhoneIdentity identity = MakePhoneIdentity(address, options.name, options.addresses.size() > 1);
        std::shared_ptr<Phone> phone = Phone::Listen(identity, studio, port, error);
        if (phone == nullptr) return nullptr;
        if (IsAnnounced(options, address)) {
            announced.push_back({identity.userName, address, phone->Port(), identity.peersIdentifier});
        }
        simulator->phones.push_back(std::move(phone));
    }
    if (!announced.empty()) simulator->announcer = std::make_unique<ServiceAnnouncer>(announced);
    return simulator;
}

// The goodbye to the network and the servers first, so that nothing new comes; then all media on the control
// thread; the encoder last.
Simulator::~Simulator() {
    announcer.reset();
    for (const std::shared_ptr<Phone>& phone : phones)
        phone->Stop();
    loop.Stop();
    phones.clear();
}

}  // namespace petrel
