// A phone, or whoever answers in its place, against a session: any messages and socket events in any order,
// with the owner's and the library's calls between them.
#include <fuzzer/FuzzedDataProvider.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "connection/nxWebRtcConnection.h"
#include "fuzzers/Buffers.h"
#include "fuzzers/Harness.h"
#include "fuzzers/Messages.h"
#include "host_runtime/core/UserLog.h"
#include "host_runtime/media/BufferGroup.h"
#include "renderers/nxWebRtcAudioRenderer.h"
#include "renderers/nxWebRtcRendererData.h"
#include "renderers/nxWebRtcVideoRenderer.h"
#include "session/nxWebRtcSession.h"
#include "session/nxWebRtcSession_DebugLog.h"
#include "tests/fakes/FakeWebSocket.h"
#include "tests/fakes/VirtualTime.h"
#include "tests/fakes/webrtc/FakeWebRtc.h"

namespace {

using fakes::FakeWebRtc;
using fakes::FakeWebSocket;
using fuzzing::Require;

constexpr int kMostSteps = 48;
constexpr std::int64_t kKeepAlivePeriodUs = 60'000'000;
constexpr const char* kDescriptions[] = {R"({"sessionGuid":"guid","ownerKey":"key"})",
                                         R"({"sessionGuid":"guid"})",
                                         R"({"sessionGuid":7})",
                                         "{}",
                                         "[]",
                                         "",
                                         "{\"sessionGuid\":\""};
constexpr const char* kAddresses[] = {"ws://127.0.0.2:9001/", "rendezvous.example", "", "\xC3\xA4"};
constexpr std::int64_t kPauses[] = {0, 1, 1'000'001, 6'000'000, 60'000'000, 3'600'000'000};

class Bench {
public:
    explicit Bench(FuzzedDataProvider& data)
        : bytes(data),
          mode(bytes.ConsumeBool() ? nxWebRtcSession::Mode::Direct : nxWebRtcSession::Mode::Rendezvous),
          session(std::make_shared<nxWebRtcSession>(mode)) {
        ConnectOwner();
        if (bytes.ConsumeIntegralInRange(0, 7) == 0) FakeWebRtc::RefusePeerConnections();
        if (bytes.ConsumeIntegralInRange(0, 15) == 0) FakeWebRtc::RefuseFactories();
        if (bytes.ConsumeIntegralInRange(0, 7) != 0) Start(kDescriptions[0]);
        if (bytes.ConsumeIntegralInRange(0, 7) != 0) Play([](FakeWebSocket& socket) { socket.BecomeOpen(); });
    }

    void Step() {
        switch (bytes.ConsumeIntegralInRange(0, 15)) {
            case 0:
                Start(bytes.PickValueInArray(kDescriptions));
                break;
            case 1:
                session->Stop();
                Require(!session->IsStarted(), "a stopped session is not started");
                break;
            case 2:
                PlaySocketEvent();
                break;
            case 3:
                time.AdvanceBy(bytes.PickValueInArray(kPauses));
                break;
            case 4:
                AskForRenderers();
                break;
            case 5:
                session->SetTallyValue(bytes.ConsumeIntegralInRange<std::uint32_t>(0, 6));
                session->SetPeerTallyState(bytes.PickValueInArray(fuzzing::kPeers),
                                           bytes.ConsumeIntegralInRange(-1, 6));
                break;
            case 6:
                PlayLibrary();
                break;
            case 7:
                session->SetDebugLogging(bytes.ConsumeIntegralInRange(0, 2));
                FakeWebRtc::WriteLogLine(bytes.ConsumeRandomLengthString(16).c_str());
                break;
            case 8: {
                const std::string message = fuzzing::AnyMessage(bytes);
                fuzzing::WithoutJsonError([&] { session->OnSocketMessage(message.c_str()); });
                break;
            }
            default: {
                const std::string message = fuzzing::AnyMessage(bytes);
                Play([&message](FakeWebSocket& socket) { socket.Deliver(message); });
            }
        }
        CheckRules();
    }

private:
    void ConnectOwner() {
        session->onConnectionCreated = [this](const std::string& peer) { session->StartConnection(peer); };
        session->onConnectionRemoved = [](const std::string&) {};
        if (bytes.ConsumeBool()) {
            session->onJoinResponse = [this](const std::string& guid, const std::string&,
                                             const std::string&) {
                Require(guid == session->SessionGuid(),
                        "the join answer is told with the session's own GUID");
            };
        }
        if (bytes.ConsumeBool())
            session->onChatMessages = [](const nlohmann::json& messages) { messages.size(); };
    }

    void Start(const char* description) {
        const bool wasStarted = session->IsStarted();
        const std::size_t before = FakeWebSocket::MadeCount();
        const bool done = fuzzing::WithoutJsonError(
            [&] { session->Start(description, bytes.PickValueInArray(kAddresses), 2.0); });
        const std::size_t made = FakeWebSocket::MadeCount() - before;
        Require(made == (done && !wasStarted ? 1U : 0U), "a start makes one socket, a refused one none");
        if (made == 1) socketMadeUs = time.NowUs();
    }

    // An event of any socket made so far, a replaced one too, carried to the main thread.
    template <class Event>
    void Play(const Event& event) {
        const auto sockets = FakeWebSocket::Made();
        if (sockets.empty()) return;
        auto socket = sockets.back();
        if (sockets.size() > 1 && bytes.ConsumeIntegralInRange(0, 3) == 0)
            socket = sockets[bytes.ConsumeIntegralInRange<std::size_t>(0, sockets.size() - 1)];
        if (socket) event(*socket);
        time.RunDue();
    }

    void PlaySocketEvent() {
        const auto error = static_cast<cWebSocket::Error>(bytes.ConsumeIntegralInRange(0, 5));
        const int kind = bytes.ConsumeIntegralInRange(0, 3);
        Play([&](FakeWebSocket& socket) {
            if (kind == 0) socket.BecomeOpen();
            if (kind == 1) socket.Fail(error);
            if (kind == 2) socket.EndCleanly();
            if (kind == 3) socket.Lose(error);
        });
    }

    void AskForRenderers() {
        const std::string peer = bytes.PickValueInArray(fuzzing::kPeers);
        auto connection = session->FindConnectionByPeer(peer);
        if (!connection) connection = session->FindConnectionForSource("guid");
        if (!connection) connection = session->CreateConnectionForSource("guid");
        if (bytes.ConsumeBool()) connection->GetVideoRenderer(fuzzing::Buffers());
        if (bytes.ConsumeBool()) connection->GetAudioRenderer(fuzzing::Buffers());
        session->ApplyTally(connection);
    }

    void PlayLibrary() {
        const auto peer = FakeWebRtc::LatestPeerConnection();
        if (!peer) return;
        const std::string text = bytes.ConsumeRandomLengthString(24);
        switch (bytes.ConsumeIntegralInRange(0, 3)) {
            case 0:
                fuzzing::WithoutJsonError([&] { peer->OfferCreated(text.c_str(), "offer"); });
                break;
            case 1:
                fuzzing::WithoutJsonError([&] { peer->CandidateGathered(text, "0", "0"); });
                break;
            case 2:
                peer->AddStream(fakes::MakeStream(bytes.ConsumeBool() ? fakes::MakeVideoTrack() : nullptr,
                                                  bytes.ConsumeBool() ? fakes::MakeAudioTrack() : nullptr));
                break;
            default:
                peer->Fail(text.c_str());
        }
    }

    void CheckRules() {
        Require(FakeWebSocket::Alive() <= 1, "a session holds one socket");
        Require(!session->HasGivenUp() || session->IsStarted(), "only a started session has given up");
        const auto socket = FakeWebSocket::Latest();
        if (!socket) return;
        for (const std::string& text : socket->TakeSent())
            fuzzing::RequireProtocolMessage(text);
        Require(socket->KeepAliveCount() <= (time.NowUs() - socketMadeUs) / kKeepAlivePeriodUs,
                "a socket has one chain of keep-alives");
    }

    FuzzedDataProvider& bytes;
    fakes::VirtualTime time;
    const nxWebRtcSession::Mode mode;
    std::shared_ptr<nxWebRtcSession> session;
    std::int64_t socketMadeUs = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider bytes(data, size);
    host_runtime::ClearUserLog();
    {
        const fuzzing::QuietTrace trace;
        Bench bench(bytes);
        for (int step = 0; step < kMostSteps && bytes.remaining_bytes() > 0; ++step)
            bench.Step();
    }
    FakeWebRtc::Forget();
    FakeWebSocket::Forget();
    fuzzing::RequireNoneAlive({{"sessions", &nxWebRtcSession::Alive},
                               {"debug logs", &nxWebRtcSession::DebugLog::Alive},
                               {"connections", &nxWebRtcConnection::Alive},
                               {"renderer data", &nxWebRtcRendererData::Alive},
                               {"video renderers", &nxWebRtcVideoRenderer::Alive},
                               {"audio renderers", &nxWebRtcAudioRenderer::Alive},
                               {"buffers", &host_runtime::BufferGroup::BuffersAlive},
                               {"sockets", &FakeWebSocket::Alive},
                               {"wrapper objects", &FakeWebRtc::LivingObjects}});
    return 0;
}
