// The renderers of a connection and the remote stream that feeds them.

#include <utility>

#include "connection/nxWebRtcConnection.h"
#include "host/network/cWebSocket.h"
#include "renderers/nxWebRtcAudioRenderer.h"
#include "renderers/nxWebRtcRendererData.h"
#include "renderers/nxWebRtcVideoRenderer.h"

using vo_webrtc::voMediaStreamInterface;
using vo_webrtc::voPointer;

namespace {

// The host counts renderers itself; its count ends them.
template <class Renderer>
std::shared_ptr<Renderer> Share(Renderer* renderer) {
    return std::shared_ptr<Renderer>(renderer, [](Renderer* counted) { counted->Release(); });
}

}  // namespace

std::shared_ptr<nxWebRtcRendererData> nxWebRtcConnection::ExistingRendererData() const {
    const support::MutexLock lock(mutex);
    return rendererData;
}

std::shared_ptr<nxWebRtcRendererData> nxWebRtcConnection::GetRendererData() {
    const support::MutexLock lock(mutex);
    if (!rendererData) {
        rendererData =
            std::make_shared<nxWebRtcRendererData>(hasTallySender ? socket : nullptr, peersIdentifier);
    }
    return rendererData;
}

std::shared_ptr<nxWebRtcVideoRenderer> nxWebRtcConnection::GetVideoRenderer(nxBufferGroup2* bufferGroup) {
    {
        const support::MutexLock lock(mutex);
        if (videoRenderer) return videoRenderer;
    }
    const std::shared_ptr<nxWebRtcRendererData> data = GetRendererData();
    const auto made = Share(new nxWebRtcVideoRenderer(name.c_str(), bufferGroup, data));
    {
        const support::MutexLock lock(mutex);
        videoRenderer = made;
    }
    data->SetVideoRenderer(made);
    AttachVideoSink(*data);
    return made;
}

std::shared_ptr<nxWebRtcAudioRenderer> nxWebRtcConnection::GetAudioRenderer(nxBufferGroup2* bufferGroup) {
    {
        const support::MutexLock lock(mutex);
        if (audioRenderer) return audioRenderer;
    }
    const std::shared_ptr<nxWebRtcRendererData> data = GetRendererData();
    const auto made = Share(new nxWebRtcAudioRenderer(name.c_str(), bufferGroup, data));
    {
        const support::MutexLock lock(mutex);
        audioRenderer = made;
    }
    data->SetAudioRenderer(made);
    AttachAudioSink(*data);
    return made;
}

void nxWebRtcConnection::OnAddStream(voPointer<voMediaStreamInterface> stream) {
    std::shared_ptr<nxWebRtcRendererData> data;
    {
        const support::MutexLock lock(mutex);
        std::swap(remoteStream, stream);
        data = rendererData;
    }
    if (!data) return;
    AttachVideoSink(*data);
    AttachAudioSink(*data);
}

voPointer<voMediaStreamInterface> nxWebRtcConnection::RemoteStream() const {
    const support::MutexLock lock(mutex);
    return remoteStream;
}

// A newer stream may arrive on a library thread while the sink is being moved: look again afterwards.
void nxWebRtcConnection::AttachVideoSink(nxWebRtcRendererData& data) {
    voPointer<voMediaStreamInterface> attached;
    for (auto stream = RemoteStream(); stream != attached; stream = RemoteStream()) {
        data.AttachVideoSink(stream);
        attached = stream;
    }
}

void nxWebRtcConnection::AttachAudioSink(nxWebRtcRendererData& data) {
    voPointer<voMediaStreamInterface> attached;
    for (auto stream = RemoteStream(); stream != attached; stream = RemoteStream()) {
        data.AttachAudioSink(stream);
        attached = stream;
    }
}

void nxWebRtcConnection::SetOnAir(bool onAir) {
    const std::shared_ptr<nxWebRtcRendererData> data = ExistingRendererData();
    if (!data) return;
    data->StoreOnAir(onAir);
    data->SendTallyIfChanged();
}

void nxWebRtcConnection::SocketEnded() {
    if (const std::shared_ptr<nxWebRtcRendererData> data = ExistingRendererData())
        tallyHeard = data->lastTally;
}

void nxWebRtcConnection::SocketOpened() {
    if (const std::shared_ptr<nxWebRtcRendererData> data = ExistingRendererData())
        data->lastTally = tallyHeard;
}

void nxWebRtcConnection::SendTallyIfChanged() {
    if (const std::shared_ptr<nxWebRtcRendererData> data = ExistingRendererData()) data->SendTallyIfChanged();
}
