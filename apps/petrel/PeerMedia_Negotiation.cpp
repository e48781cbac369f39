#include <fmt/format.h>

#include <string>

#include "apps/petrel/PeerMedia.h"
#include "apps/petrel/PeerMediaLink.h"
#include "apps/petrel/SdpFields.h"

namespace petrel {
namespace {

using SharedDescription = std::shared_ptr<GstWebRTCSessionDescription>;

}  // namespace

void PeerMedia::ConnectSignals() {
    const auto makeLink = [this] { return new Link{weak_from_this(), &loop, Step::OfferSet}; };
    g_signal_connect_data(webrtc, "on-ice-candidate", G_CALLBACK(OnIceCandidateSignal), makeLink(),
                          Link::DeleteWithClosure, GConnectFlags(0));
    g_signal_connect_data(webrtc, "notify::connection-state", G_CALLBACK(OnConnectionStateSignal), makeLink(),
                          Link::DeleteWithClosure, GConnectFlags(0));
    const GstHandle<GstBus> bus(gst_element_get_bus(pipeline.get()));
    gst_bus_set_sync_handler(bus.get(), OnBusMessage, makeLink(), Link::Delete);
}

void PeerMedia::DisconnectSignals() {
    if (webrtc == nullptr) return;
    g_signal_handlers_disconnect_matched(webrtc, G_SIGNAL_MATCH_FUNC, 0, 0, nullptr,
                                         reinterpret_cast<gpointer>(OnIceCandidateSignal), nullptr);
    g_signal_handlers_disconnect_matched(webrtc, G_SIGNAL_MATCH_FUNC, 0, 0, nullptr,
                                         reinterpret_cast<gpointer>(OnConnectionStateSignal), nullptr);
}

GstHandle<GstPromise> PeerMedia::PromiseFor(Step step) {
    return GstHandle<GstPromise>(
        gst_promise_new_with_change_func(OnPromise, new Link{weak_from_this(), &loop, step}, Link::Delete));
}

// [library-thread]
void PeerMedia::OnPromise(GstPromise* promise, gpointer data) {
    const auto* link = static_cast<Link*>(data);
    const Step step = link->step;
    std::string problem;
    SharedDescription description;
    if (gst_promise_wait(promise) != GST_PROMISE_RESULT_REPLIED) problem = "the engine gave up";
    if (const GstStructure* reply = problem.empty() ? gst_promise_get_reply(promise) : nullptr) {
        GError* error = nullptr;
        GstWebRTCSessionDescription* answer = nullptr;
        gst_structure_get(reply, "error", G_TYPE_ERROR, &error, nullptr);
        gst_structure_get(reply, "answer", GST_TYPE_WEBRTC_SESSION_DESCRIPTION, &answer, nullptr);
        const GstHandle<GError> ownedError(error);
        if (error != nullptr) problem = error->message;
        if (answer != nullptr) description = SharedDescription(answer, GstRelease());
    }
    link->Post(
        [step, description, problem](PeerMedia& self) { self.OnStepDone(step, description, problem); });
}

// [library-thread]
void PeerMedia::OnIceCandidateSignal(GstElement*, guint index, gchar* text, gpointer link) {
    static_cast<Link*>(link)->Post([index, candidate = TextOf(text)](PeerMedia& self) {
        self.OnLocalCandidate(static_cast<int>(index), candidate);
    });
}

// [library-thread]
void PeerMedia::OnConnectionStateSignal(GstElement* bin, GParamSpec*, gpointer link) {
    GstWebRTCPeerConnectionState state = GST_WEBRTC_PEER_CONNECTION_STATE_NEW;
    g_object_get(bin, "connection-state", &state, nullptr);
    static_cast<Link*>(link)->Post([state](PeerMedia& self) { self.OnConnectionState(state); });
}

// [library-thread]
GstBusSyncReply PeerMedia::OnBusMessage(GstBus*, GstMessage* message, gpointer link) {
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
        GError* error = nullptr;
        gst_message_parse_error(message, &error, nullptr);
        const GstHandle<GError> owned(error);
        static_cast<Link*>(link)->Post([text = TextOf(error->message)](PeerMedia& self) { self.Fail(text); });
    }
    gst_message_unref(message);
    return GST_BUS_DROP;
}

void PeerMedia::OnStepDone(Step step, const std::shared_ptr<GstWebRTCSessionDescription>& description,
                           const std::string& problem) {
    if (failed) return;
    if (!problem.empty()) return Fail(fmt::format("the offer cannot be answered: {}", problem));
    switch (step) {
        case Step::OfferSet:
            for (const OfferedCandidate& offered : plan.candidates) {
                AddRemoteCandidate(offered.candidate, offered.mid, 0);
            }
            g_signal_emit_by_name(webrtc, "create-answer", nullptr, PromiseFor(Step::AnswerMade).get());
            return;
        case Step::AnswerMade:
            if (description == nullptr) return Fail("the engine made no answer");
            events.onAnswer(ComposeAnswer(plan, description->sdp));
            g_signal_emit_by_name(webrtc, "set-local-description", description.get(),
                                  PromiseFor(Step::AnswerSet).get());
            return;
        case Step::AnswerSet:
            return;
    }
}

void PeerMedia::OnLocalCandidate(int engineIndex, const std::string& candidate) {
    if (failed) return;
    const std::size_t index = plan.MediaIndex(engineIndex);
    events.onCandidate(candidate, plan.media[index].mid, static_cast<int>(index));
}

void PeerMedia::OnConnectionState(GstWebRTCPeerConnectionState state) {
    if (failed) return;
    if (state == GST_WEBRTC_PEER_CONNECTION_STATE_CONNECTED) StartStreaming();
    if (state == GST_WEBRTC_PEER_CONNECTION_STATE_FAILED) Fail("no network path to the client works");
}

bool PeerMedia::AddRemoteCandidate(const std::string& candidate, const std::string& mid, int lineIndex) {
    if (candidate.empty()) return true;  // the end of the candidates
    const std::optional<std::string> clean = CleanCandidate(candidate);
    if (!clean) return false;
    auto index = static_cast<std::size_t>(lineIndex);
    for (std::size_t known = 0; known < plan.media.size() && !mid.empty(); ++known) {
        if (plan.media[known].mid == mid) index = known;
    }
    if (index >= plan.media.size()) return false;
    const int engineIndex = plan.EngineIndex(index);
    if (engineIndex >= 0 && !failed) {
        g_signal_emit_by_name(webrtc, "add-ice-candidate", static_cast<guint>(engineIndex), clean->c_str());
    }
    return true;
}

}  // namespace petrel
