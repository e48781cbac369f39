// Signalling messages into a connection, and the library's callbacks out of it.
#include <fuzzer/FuzzedDataProvider.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "connection/nxWebRtcConnection.h"
#include "fuzzers/Buffers.h"
#include "fuzzers/Harness.h"
#include "fuzzers/Messages.h"
#include "host_runtime/media/BufferGroup.h"
#include "renderers/nxWebRtcAudioRenderer.h"
#include "renderers/nxWebRtcRendererData.h"
#include "renderers/nxWebRtcVideoRenderer.h"
#include "tests/fakes/FakeWebSocket.h"
#include "tests/fakes/webrtc/FakeWebRtc.h"

namespace {

using fakes::FakePeerConnection;
using fakes::FakeWebRtc;
using fakes::FakeWebSocket;
using fuzzing::Require;
using Factory = vo_webrtc::voPeerConnectionFactoryInterface;

constexpr int kMostSteps = 48;

// What the library was asked to do, in numbers.
struct Asked {
    std::size_t calls = 0;
    std::size_t descriptions = 0;
    std::size_t candidates = 0;
    friend bool operator==(const Asked&, const Asked&) = default;
};

Asked AskedOf(const FakePeerConnection& peer) {
    return {peer.Calls().size(), peer.RemoteDescriptions().size(), peer.Candidates().size()};
}

class Bench {
public:
    explicit Bench(FuzzedDataProvider& data) : bytes(data) {
        connection = std::make_shared<nxWebRtcConnection>(
            factory, bytes.ConsumeIntegralInRange(0, 7) != 0 ? socket : nullptr, "name", "guid",
            bytes.PickValueInArray(fuzzing::kPeers), "Phone", bytes.ConsumeRandomLengthString(64));
        if (bytes.ConsumeIntegralInRange(0, 7) != 0)
            connection->Start(nullptr, bytes.ConsumeIntegral<std::uint8_t>());
    }

    void Step() {
        const auto peer = FakeWebRtc::LatestPeerConnection();
        switch (bytes.ConsumeIntegralInRange(0, 9)) {
            case 0:
                connection->Start(nullptr, bytes.ConsumeIntegral<std::uint8_t>());
                break;
            case 1:
                connection->SetPeersIdentifier(bytes.PickValueInArray(fuzzing::kPeers));
                connection->SetSocket(bytes.ConsumeBool() ? socket : nullptr);
                break;
            case 2:
                if (bytes.ConsumeBool()) connection->GetVideoRenderer(fuzzing::Buffers());
                if (bytes.ConsumeBool()) connection->GetAudioRenderer(fuzzing::Buffers());
                connection->SetOnAir(bytes.ConsumeBool());
                break;
            case 3:
                AskForStatistics(peer);
                break;
            case 4:
                if (peer) SendDescription(*peer);
                break;
            case 5:
                if (peer) PlayLibrary(*peer);
                break;
            default:
                Deliver(peer);
        }
        for (const std::string& text : socket->TakeSent())
            fuzzing::RequireProtocolMessage(text);
    }

private:
    void Deliver(const std::shared_ptr<FakePeerConnection>& peer) {
        const std::string message = fuzzing::AnyMessage(bytes);
        const Asked before = peer ? AskedOf(*peer) : Asked();
        const bool understood = fuzzing::WithoutJsonError([&] { connection->OnMessage(message.c_str()); });
        if (!peer) return;
        const Asked after = AskedOf(*peer);
        if (!understood) {
            Require(before == after, "a message that is not understood leaves the connection unchanged");
            return;
        }
        const std::string action = nlohmann::json::parse(message.c_str()).value("action", "");
        const bool describes = action == "gotAnswer" || action == "createAnswer";
        Require(after.descriptions - before.descriptions == (describes ? 1U : 0U),
                "an answer or an offer is one remote description");
        Require(after.candidates - before.candidates == (action == "ice" ? 1U : 0U), "ice is one candidate");
        Require(describes || action == "ice" || before == after, "other actions do nothing");
    }

    void AskForStatistics(const std::shared_ptr<FakePeerConnection>& peer) {
        int answers = 0;
        vo_webrtc::voStats stats;
        stats.stateCode1 = bytes.ConsumeIntegral<std::uint32_t>();
        stats.stateCode2 = bytes.ConsumeIntegral<std::uint32_t>();
        stats.bytesReceived = bytes.ConsumeIntegral<std::int64_t>();
        connection->GetStats([&](const nxWebRtcStats& delivered) {
            ++answers;
            Require(delivered.stateCode1 <= 4 && delivered.stateCode2 <= 4, "state codes are known ones");
        });
        if (peer) peer->DeliverStats(stats);
        Require(answers == 1, "a statistics request is answered once");
    }

    // What the library says reaches the phone as it is, or is no text.
    void SendDescription(FakePeerConnection& peer) {
        const std::string sdp = bytes.ConsumeRandomLengthString(48);
        const bool offer = bytes.ConsumeBool();
        socket->TakeSent();
        const bool sent = fuzzing::WithoutJsonError([&] {
            offer ? peer.OfferCreated(sdp.c_str(), "offer") : peer.AnswerCreated(sdp.c_str(), "answer");
        });
        const auto texts = socket->TakeSent();
        Require(sent || texts.empty(), "what cannot be written is not sent");
        if (texts.empty()) return;
        Require(texts.size() == 1, "a description is one message");
        const auto message = nlohmann::json::parse(texts[0], nullptr, false);
        Require(message.is_object() && message.value("sdp", "-") == sdp.c_str(),
                "a description is sent unchanged");
        Require(message.value("type", "") == (offer ? "offer" : "answer"),
                "a description is sent with its type");
    }

    void PlayLibrary(FakePeerConnection& peer) {
        const std::string text = bytes.ConsumeRandomLengthString(32);
        switch (bytes.ConsumeIntegralInRange(0, 5)) {
            case 0:
                fuzzing::WithoutJsonError([&] { peer.CandidateGathered(text, text, text); });
                break;
            case 1:
                peer.AddStream(fakes::MakeStream(bytes.ConsumeBool() ? fakes::MakeVideoTrack() : nullptr,
                                                 bytes.ConsumeBool() ? fakes::MakeAudioTrack() : nullptr));
                break;
            case 2:
                peer.Fail(bytes.ConsumeBool() ? text.c_str() : nullptr);
                break;
            case 3:
                peer.ChangeIceConnection(bytes.ConsumeIntegral<std::uint32_t>());
                break;
            case 4:
                peer.ChangeIceGathering(bytes.ConsumeIntegralInRange<std::uint32_t>(0, 4));
                break;
            default:
                peer.ChangeSignaling(bytes.ConsumeIntegralInRange<std::uint32_t>(0, 8));
        }
    }

    FuzzedDataProvider& bytes;
    vo_webrtc::voPointer<Factory> factory = Factory::Create(vo_webrtc::voCustomAudioDevice::Create());
    std::shared_ptr<FakeWebSocket> socket = std::make_shared<FakeWebSocket>();
    std::shared_ptr<nxWebRtcConnection> connection;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider bytes(data, size);
    {
        const fuzzing::QuietTrace trace;
        Bench bench(bytes);
        for (int step = 0; step < kMostSteps && bytes.remaining_bytes() > 0; ++step)
            bench.Step();
    }
    FakeWebRtc::Forget();
    fuzzing::RequireNoneAlive({{"connections", &nxWebRtcConnection::Alive},
                               {"renderer data", &nxWebRtcRendererData::Alive},
                               {"video renderers", &nxWebRtcVideoRenderer::Alive},
                               {"audio renderers", &nxWebRtcAudioRenderer::Alive},
                               {"buffers", &host_runtime::BufferGroup::BuffersAlive},
                               {"sockets", &FakeWebSocket::Alive},
                               {"wrapper objects", &FakeWebRtc::LivingObjects}});
    return 0;
}
