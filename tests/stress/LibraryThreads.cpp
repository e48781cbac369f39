#include "tests/stress/LibraryThreads.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

#include "tests/stress/FastClock.h"

namespace stress {
namespace {

constexpr std::int32_t kLargestWidth = 96;
constexpr std::int32_t kLargestHeight = 64;
constexpr std::size_t kBlockFrames = 480;

constexpr std::chrono::microseconds kRest{1000};

void Name(const char* name) {
    pthread_setname_np(pthread_self(), name);
}

}  // namespace

LibraryThreads::LibraryThreads(std::uint64_t seed, ActionCounts& actionCounts) : counts(actionCounts) {
    fakes::FakeWebRtc::WhenPeerConnectionMade(
        [this](std::shared_ptr<fakes::FakePeerConnection> record) { Adopt(std::move(record)); });
    for (std::size_t index = 0; index < kConnectionThreads; ++index)
        threads.emplace_back(
            [this, index, dice = Dice(++seed)](PacedThread& self) { RunConnections(self, index, dice); });
    for (std::size_t index = 0; index < kPictureThreads; ++index)
        threads.emplace_back(
            [this, index, dice = Dice(++seed)](PacedThread& self) { RunPictures(self, index, dice); });
    threads.emplace_back([this, dice = Dice(++seed)](PacedThread& self) { RunPlayout(self, dice); });
    threads.emplace_back([this](PacedThread& self) { RunLog(self); });
}

LibraryThreads::~LibraryThreads() {
    fakes::FakeWebRtc::WhenPeerConnectionMade({});
    for (PacedThread& thread : threads)
        thread.End();
}

void LibraryThreads::Adopt(std::shared_ptr<fakes::FakePeerConnection> record) {
    newPeers[nextThread.fetch_add(1) % kConnectionThreads].Put(std::move(record));
}

void LibraryThreads::RunConnections(PacedThread& self, std::size_t index, Dice dice) {
    Name("vo-connection");
    std::vector<Peer> peers;
    do {
        for (const auto& record : newPeers[index].All()) {
            newPeers[index].Take(record);
            peers.push_back({record, nullptr, nullptr, nullptr, index % kPictureThreads});
        }
        for (Peer& peer : peers)
            Serve(peer, dice);
        std::erase_if(peers, [this](Peer& peer) {
            const bool gone = !peer.record->IsReferenced();
            if (gone) DropStream(peer);
            return gone;
        });
    } while (self.RestFor(kRest));
    for (Peer& peer : peers)
        DropStream(peer);
}

void LibraryThreads::Serve(Peer& peer, Dice& dice) {
    fakes::FakePeerConnection& record = *peer.record;
    for (const std::string& call : record.TakeCalls()) {
        if (call == "CreateOffer" && record.OfferCreated("v=0\r\n", "offer")) counts.Add(Action::OfferMade);
        if (call == "CreateAnswer" && record.AnswerCreated("v=0\r\n", "answer"))
            counts.Add(Action::AnswerMade);
        if (call == "SetRemoteDescription") NewStream(peer, dice);
    }
    Report(peer, dice);

    vo_webrtc::voStats stats;
    stats.timestampUs = MediaUs();
    stats.bytesReceived = stats.timestampUs;
    while (record.DeliverStats(stats))
        counts.Add(Action::StatisticsDelivered);
}

void LibraryThreads::Report(Peer& peer, Dice& dice) {
    fakes::FakePeerConnection& record = *peer.record;
    switch (dice.Below(40)) {
        case 0:
            if (record.CandidateGathered("candidate", "0", "0")) counts.Add(Action::CandidateMade);
            break;
        case 1:
            if (record.ChangeIceConnection(static_cast<std::uint32_t>(dice.Below(9)))) {
                counts.Add(Action::StateReported);
            }
            break;
        case 2:
            record.ChangeIceGathering(static_cast<std::uint32_t>(dice.Below(4)));
            record.ChangeSignaling(static_cast<std::uint32_t>(dice.Below(7)));
            record.RenegotiationNeeded();
            break;
        case 3:
            if (record.Fail(dice.OneIn(2) ? "trouble" : nullptr)) counts.Add(Action::FailureReported);
            break;
        case 4:
            if (peer.stream && record.RemoveStream(peer.stream)) counts.Add(Action::StreamRemoved);
            break;
        case 5:
        case 6:
        case 7:
            if (peer.stream) NewStream(peer, dice);
            break;
        default:
            break;
    }
}

// A stream without one of its tracks comes too.
void LibraryThreads::NewStream(Peer& peer, Dice& dice) {
    DropStream(peer);
    if (!dice.OneIn(8)) peer.video = fakes::MakeVideoTrack();
    if (!dice.OneIn(8)) peer.audio = fakes::MakeAudioTrack();
    peer.stream = fakes::MakeStream(peer.video, peer.audio);
    if (peer.video) videoTracks[peer.pictureThread].Put(peer.video);
    if (peer.audio) audioTracks.Put(peer.audio);
    if (peer.record->AddStream(peer.stream)) counts.Add(Action::StreamAdded);
}

void LibraryThreads::DropStream(Peer& peer) {
    if (peer.video) videoTracks[peer.pictureThread].Take(peer.video);
    if (peer.audio) audioTracks.Take(peer.audio);
    peer.video = nullptr;
    peer.audio = nullptr;
    peer.stream = nullptr;
}

void LibraryThreads::RunPictures(PacedThread& self, std::size_t index, Dice dice) {
    Name("vo-pictures");
    std::vector<std::uint8_t> plane(std::size_t{kLargestWidth} * kLargestHeight);
    do {
        std::fill(plane.begin(), plane.end(), static_cast<std::uint8_t>(dice.Below(256)));
        vo_webrtc::voI420Frame frame;
        frame.width = 1 + dice.Below(kLargestWidth);
        frame.height = 1 + dice.Below(kLargestHeight);
        frame.y = frame.u = frame.v = plane.data();
        frame.strideY = frame.strideU = frame.strideV = kLargestWidth;
        for (const VideoTrack& track : videoTracks[index].All()) {
            fakes::FakeVideoTrack::Of(track).Deliver(frame);
            counts.Add(Action::PictureDelivered);
        }
    } while (self.RestFor(kRest));
}

// Blocks come in step with the media clock, however late the thread is.
void LibraryThreads::RunPlayout(PacedThread& self, Dice dice) {
    Name("vo-playout");
    const std::vector<std::int16_t> samples(kBlockFrames * 2, 1000);
    const std::int64_t startUs = MediaUs();
    std::int64_t delivered = 0;
    do {
        const std::int64_t due = (MediaUs() - startUs) / 10'000;
        for (; delivered < due; ++delivered) {
            vo_webrtc::voAudioData data;
            data.samples = samples.data();
            data.channels = dice.OneIn(2) ? 1 : 2;
            data.frames = kBlockFrames;
            for (const AudioTrack& track : audioTracks.All()) {
                fakes::FakeAudioTrack::Of(track).Deliver(data);
                counts.Add(Action::SoundDelivered);
            }
        }
    } while (self.RestFor(kRest));
}

void LibraryThreads::RunLog(PacedThread& self) {
    Name("vo-log");
    do {
        fakes::FakeWebRtc::WriteLogLine("a line of the library\n");
        counts.Add(Action::LogLineWritten);
    } while (self.RestFor(2 * kRest));
}

}  // namespace stress
