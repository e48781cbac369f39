// Phones that come and go by discovery, with whatever their records say, and the sources made of them.
#include <fuzzer/FuzzedDataProvider.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "fuzzers/Buffers.h"
#include "fuzzers/FactoryBench.h"
#include "fuzzers/Messages.h"
#include "fuzzers/Records.h"
#include "host/renderer/nxRenderer2.h"
#include "host_runtime/media/BufferGroup.h"
#include "session/nxWebRtcSession.h"
#include "tests/fakes/FakeWebSocket.h"

namespace {

using fuzzing::Require;

constexpr int kMostSteps = 40;
constexpr std::int64_t kPauses[] = {0, 1'000'001, 6'000'000, 15'000'000, 60'000'000};

zRecord AnyDiscovery(FuzzedDataProvider& bytes) {
    zRecord record;
    fuzzing::SetAny(bytes, record, "host", fuzzing::AnyAddress(bytes));
    fuzzing::SetAny(bytes, record, "port", bytes.ConsumeBool() ? "9001" : fuzzing::AnyText(bytes));
    if (bytes.ConsumeBool()) fuzzing::SetAny(bytes, record, "name", fuzzing::AnyText(bytes));
    const int children = bytes.ConsumeIntegralInRange(0, 7);
    if (children != 0) fuzzing::SetAny(bytes, record.AddChild(), "PeerIdentifier", fuzzing::AnyText(bytes));
    if (children == 7) fuzzing::SetAny(bytes, record.AddChild(), "PeerIdentifier", "second");
    return record;
}

std::string PeerIn(const zRecord& discovery) {
    return discovery.HasChildren() ? discovery.Child(0)->AsCString("PeerIdentifier", "") : "";
}

class Discoveries {
public:
    explicit Discoveries(FuzzedDataProvider& data) : bytes(data) {}

    void Step() {
        switch (bytes.ConsumeIntegralInRange(0, 11)) {
            case 0:
            case 1:
            case 2:
                Discover();
                break;
            case 3:
                Lose();
                break;
            case 4:
            case 5:
                Activate();
                break;
            case 6:
                AskForRenderer();
                break;
            case 7:
                bench.time.AdvanceBy(bytes.PickValueInArray(kPauses));
                break;
            case 8:
                bench.factory->StopSession(AnyIdentifier().c_str());
                break;
            case 9:
                bench.factory->SetTallyValue(bytes.ConsumeIntegralInRange<std::uint32_t>(0, 6));
                bench.factory->ForwardToSession(AnyIdentifier().c_str(),
                                                bytes.ConsumeIntegralInRange<std::uint32_t>(0, 6));
                break;
            default:
                PlaySocket();
        }
        Require(nxWebRtcSession::Alive() == static_cast<std::int64_t>(sources.size()),
                "each source has one session");
    }

private:
    void Discover() {
        zRecord record = AnyDiscovery(bytes);
        const std::string peer = PeerIn(record);
        const std::size_t before = bench.registry.announced.size();
        bench.factory->PeerDiscovered(record);
        Require(bench.registry.announced.size() == before + (peer.empty() ? 0 : 1),
                "a phone with an identifier is announced once");
        if (peer.empty()) return;

        const auto& announced = bench.registry.announced.back();
        const std::string name = record.AsCString("name", "");
        const std::string port = record.AsCString("port", "");
        const std::string host = record.AsCString("host", "");
        const std::string address = port.empty() ? host : host + ":" + port;
        Require(announced.description.identifier == peer, "a phone is announced by its identifier");
        Require(announced.description.displayName == (name.empty() ? "None" : name), "a phone has a name");
        const fuzzing::Fields expected = {
            {"autoDiscovered", true}, {"kestrel_peer_identifier", peer}, {"kestrel_ip_address", address}};
        Require(fuzzing::FieldsOf(announced.settings) == expected, "the settings tell peer and address");
    }

    void Lose() {
        zRecord record = AnyDiscovery(bytes);
        const std::string peer = PeerIn(record);
        const std::size_t before = bench.registry.withdrawn.size();
        bench.factory->PeerLost(record);
        Require(bench.registry.withdrawn.size() == before + (peer.empty() ? 0 : 1),
                "a lost phone is withdrawn once");
        if (peer.empty()) return;
        Require(bench.registry.withdrawn[before].description.identifier == peer,
                "it is the phone that is withdrawn");
        std::erase_if(sources, [&peer](const auto& source) { return source.second == peer; });
    }

    std::string AnyIdentifier() {
        const auto& announced = bench.registry.announced;
        if (!announced.empty() && bytes.ConsumeBool())
            return announced[bytes.ConsumeIntegralInRange<std::size_t>(0, announced.size() - 1)]
                .description.identifier;
        return fuzzing::AnyText(bytes);
    }

    void Activate() {
        const auto& announced = bench.registry.announced;
        const std::string identifier = AnyIdentifier();
        zRecord settings = announced.empty() || bytes.ConsumeBool() ? fuzzing::AnySettings(bytes)
                                                                    : announced.back().settings;
        const std::string peer = settings.AsCString("kestrel_peer_identifier", "");
        // An identifier that JSON would have to escape cannot be dialled.
        fuzzing::WithoutJsonError([&] {
            Require(bench.factory->ActivateSource(identifier.c_str(), settings) == kStatusOk,
                    "sources are activated");
        });
        std::string& known = sources[identifier];
        if (!peer.empty()) known = peer;
    }

    void AskForRenderer() {
        constexpr mdMediaType kTypes[] = {kMediaTypeVideo, kMediaTypeAudio, FourCC("text")};
        const std::string identifier = AnyIdentifier();
        const mdMediaType type = bytes.PickValueInArray(kTypes);
        std::shared_ptr<nxRenderer2> renderer;
        bench.factory->CreateRenderer(renderer, identifier.c_str(), type, fuzzing::Buffers());
        const bool expected = sources.contains(identifier) && type != FourCC("text");
        Require(static_cast<bool>(renderer) == expected, "activated sources have picture and sound");
    }

    void PlaySocket() {
        const auto socket = fuzzing::FactoryBench::Socket(bytes.ConsumeIntegralInRange<std::size_t>(0, 7));
        if (!socket) return;
        switch (bytes.ConsumeIntegralInRange(0, 5)) {
            case 0:
                socket->Fail(cWebSocket::Error::ConnectFailed);
                break;
            case 1:
                socket->Lose(cWebSocket::Error::Lost);
                break;
            case 2:
                socket->BecomeOpen();
                break;
            case 3:
                socket->Deliver(
                    R"({"action":"peerJoined","username":"Phone","peersIdentifier":"phone-1","sessionGuid":")" +
                    fuzzing::AnyText(bytes) + "\"}");
                break;
            default:
                socket->Deliver(fuzzing::AnyMessage(bytes));
        }
        bench.time.RunDue();
    }

    FuzzedDataProvider& bytes;
    fuzzing::FactoryBench bench;
    std::map<std::string, std::string> sources;  // peer by identifier, as the factory must know them
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider bytes(data, size);
    {
        Discoveries discoveries(bytes);
        for (int step = 0; step < kMostSteps && bytes.remaining_bytes() > 0; ++step)
            discoveries.Step();
    }
    fuzzing::RequireFactoryGone();
    return 0;
}
