#include "tests/fakes/webrtc/FakeWebRtc.h"

#include <algorithm>
#include <utility>

#include "support/annotated_mutex.h"
#include "webrtc/voColorspaceConverter.h"
#include "webrtc/voCustomAudioDevice.h"

namespace fakes {

using vo_webrtc::voDebug;
using vo_webrtc::voPointer;

namespace {

struct Records {
    std::vector<std::shared_ptr<FakePeerConnection>> peerConnections;
    int factoriesMade = 0;
    int factoriesMadeWithADevice = 0;
    int audioDevicesMade = 0;
    int videoTrackSourcesMade = 0;
    int framesConverted = 0;
    std::function<void()> beforeConversion;
    std::function<void(std::shared_ptr<FakePeerConnection>)> whenPeerConnectionMade;
    bool refuseFactories = false;
    bool refusePeerConnections = false;
    std::vector<FakeWebRtc::LogSetting> logSettings;
    voPointer<voDebug::Logging> logSink;
};

struct Library {
    support::Mutex mutex;
    Records records GUARDED_BY(mutex);
};

Library& TheLibrary() {
    static Library library;
    return library;
}

// Runs `use` on the records under the library's lock.
template <class Use>
auto WithRecords(Use use) {
    Library& library = TheLibrary();
    const support::MutexLock lock(library.mutex);
    return use(library.records);
}

void PutPair(std::uint8_t* out, std::uint8_t u, std::uint8_t y0, std::uint8_t v, std::uint8_t y1) {
    out[0] = u;
    out[1] = y0;
    out[2] = v;
    out[3] = y1;
}

}  // namespace

std::int64_t FakeWebRtc::LivingObjects() {
    return vo_webrtc::voObject::BaseImpl::Alive();
}

std::vector<std::shared_ptr<FakePeerConnection>> FakeWebRtc::PeerConnections() {
    return WithRecords([](Records& records) { return records.peerConnections; });
}

std::shared_ptr<FakePeerConnection> FakeWebRtc::LatestPeerConnection() {
    const auto made = PeerConnections();
    return made.empty() ? nullptr : made.back();
}

void FakeWebRtc::WhenPeerConnectionMade(std::function<void(std::shared_ptr<FakePeerConnection>)> function) {
    WithRecords([&function](Records& records) { std::swap(records.whenPeerConnectionMade, function); });
}

int FakeWebRtc::FactoriesMade() {
    return WithRecords([](Records& records) { return records.factoriesMade; });
}

int FakeWebRtc::FactoriesMadeWithADevice() {
    return WithRecords([](Records& records) { return records.factoriesMadeWithADevice; });
}

int FakeWebRtc::AudioDevicesMade() {
    return WithRecords([](Records& records) { return records.audioDevicesMade; });
}

int FakeWebRtc::VideoTrackSourcesMade() {
    return WithRecords([](Records& records) { return records.videoTrackSourcesMade; });
}

int FakeWebRtc::FramesConverted() {
    return WithRecords([](Records& records) { return records.framesConverted; });
}

void FakeWebRtc::BeforeConversion(std::function<void()> function) {
    WithRecords([&function](Records& records) { std::swap(records.beforeConversion, function); });
}

void FakeWebRtc::RefuseFactories() {
    WithRecords([](Records& records) { records.refuseFactories = true; });
}

void FakeWebRtc::RefusePeerConnections() {
    WithRecords([](Records& records) { records.refusePeerConnections = true; });
}

std::vector<FakeWebRtc::LogSetting> FakeWebRtc::LogSettings() {
    return WithRecords([](Records& records) { return records.logSettings; });
}

void FakeWebRtc::WriteLogLine(const char* line) {
    const voPointer<voDebug::Logging> sink = WithRecords([](Records& records) { return records.logSink; });
    if (sink) sink->OnLogLine(line);
}

void FakeWebRtc::Forget() {
    Records forgotten;  // destroyed after the lock
    WithRecords([&forgotten](Records& records) { std::swap(forgotten, records); });
}

}  // namespace fakes

namespace vo_webrtc {

voPointer<voCustomAudioDevice> voCustomAudioDevice::Create() {
    fakes::WithRecords([](fakes::Records& records) { ++records.audioDevicesMade; });
    return BaseImpl::Wrap<voCustomAudioDevice>(new BaseImpl);
}

voPointer<voPeerConnectionFactoryInterface> voPeerConnectionFactoryInterface::Create(
    voPointer<voCustomAudioDevice> device) {
    const bool refused = fakes::WithRecords([&device](fakes::Records& records) {
        if (!records.refuseFactories) {
            ++records.factoriesMade;
            if (device) ++records.factoriesMadeWithADevice;
        }
        return records.refuseFactories;
    });
    if (refused) return nullptr;
    return BaseImpl::Wrap<voPeerConnectionFactoryInterface>(new BaseImpl);
}

voPointer<voVideoTrackSourceInterface> voPeerConnectionFactoryInterface::CreateVideoTrackSource() {
    fakes::WithRecords([](fakes::Records& records) { ++records.videoTrackSourcesMade; });
    return BaseImpl::Wrap<voVideoTrackSourceInterface>(new BaseImpl);
}

voPointer<voPeerConnectionInterface> voPeerConnectionFactoryInterface::CreatePeerConnection(
    const voStunServer* servers, std::int32_t count, bool encryptMedia) {
    std::vector<fakes::FakeIceServer> copied;
    for (std::int32_t index = 0; index < count; ++index)
        copied.push_back({servers[index].url, servers[index].username, servers[index].password});
    auto record = std::make_shared<fakes::FakePeerConnection>(std::move(copied), encryptMedia);
    const bool refused = fakes::WithRecords([&record](fakes::Records& records) {
        if (!records.refusePeerConnections) records.peerConnections.push_back(record);
        return records.refusePeerConnections;
    });
    if (refused) return nullptr;
    const auto made =
        fakes::WithRecords([](fakes::Records& records) { return records.whenPeerConnectionMade; });
    voPointer<voPeerConnectionInterface> wrapped = fakes::WrapPeerConnection(record);
    if (made) made(std::move(record));
    return wrapped;
}

void voDebug::SetLogging(voPointer<Logging> sink, LogLevel level) {
    fakes::WithRecords([&sink, level](fakes::Records& records) {
        records.logSettings.push_back({static_cast<bool>(sink), level});
        std::swap(records.logSink, sink);
    });
}

std::int32_t voColorspaceConverter::I420ToUYVY(voVideoFrame& destination, const voI420Frame& source) {
    const auto hook = fakes::WithRecords([](fakes::Records& records) { return records.beforeConversion; });
    if (hook) hook();

    const bool planes = source.y != nullptr && source.u != nullptr && source.v != nullptr;
    const bool sizes = source.width > 0 && source.height > 0 && destination.width == source.width &&
                       destination.height == source.height;
    if (destination.baseAddress == nullptr || !planes || !sizes) return -1;
    if (destination.bytesPerRow < (source.width + 1) / 2 * 4) return -1;

    for (std::int32_t row = 0; row < source.height; ++row) {
        std::uint8_t* out = destination.baseAddress + std::ptrdiff_t{row} * destination.bytesPerRow;
        const std::uint8_t* y = source.y + std::ptrdiff_t{row} * source.strideY;
        const std::uint8_t* u = source.u + std::ptrdiff_t{row / 2} * source.strideU;
        const std::uint8_t* v = source.v + std::ptrdiff_t{row / 2} * source.strideV;
        for (std::int32_t x = 0; x < source.width; x += 2, out += 4)
            fakes::PutPair(out, u[x / 2], y[x], v[x / 2], y[std::min(x + 1, source.width - 1)]);
    }
    fakes::WithRecords([](fakes::Records& records) { ++records.framesConverted; });
    return 0;
}

}  // namespace vo_webrtc
