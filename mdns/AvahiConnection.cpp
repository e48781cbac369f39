#include "mdns/AvahiConnection.h"

#include <avahi-common/error.h>
#include <avahi-common/thread-watch.h>
#include <avahi-common/timeval.h>
#include <pthread.h>

#include <utility>

namespace mdns {

AvahiConnection::AvahiConnection(Need whatCounts, AvahiHandlers toCall)
    : need(whatCounts), handlers(std::move(toCall)), thread(avahi_threaded_poll_new()) {
    OpenLater(0);
    avahi_threaded_poll_start(thread);
}

AvahiConnection::~AvahiConnection() {
    avahi_threaded_poll_stop(thread);
    Close();
    avahi_threaded_poll_get(thread)->timeout_free(timer);
    avahi_threaded_poll_free(thread);
}

void AvahiConnection::Run(const std::function<void(AvahiClient* client)>& job) {
    avahi_threaded_poll_lock(thread);
    job(up ? client : nullptr);
    avahi_threaded_poll_unlock(thread);
}

void AvahiConnection::BeginAnew(const std::string& reason) {
    TellOutage(reason);
    OpenLater(kRetryMs);
}

void AvahiConnection::OnTimer(AvahiTimeout* timer, void* connection) {
    auto& self = *static_cast<AvahiConnection*>(connection);
    avahi_threaded_poll_get(self.thread)->timeout_update(timer, nullptr);
    pthread_setname_np(pthread_self(), "avahi");
    // A client cannot be freed by its own callback, so everything that replaces it comes through here.
    self.Close();
    self.Open();
}

void AvahiConnection::OnState(AvahiClient* client, AvahiClientState state, void* connection) {
    auto& self = *static_cast<AvahiConnection*>(connection);
    switch (state) {
        case AVAHI_CLIENT_S_RUNNING:
            self.GoUp(*client);
            break;
        case AVAHI_CLIENT_S_REGISTERING:
        case AVAHI_CLIENT_S_COLLISION:
            if (self.need == Need::Answers) {
                self.GoUp(*client);
            } else {
                self.GoDown();
            }
            break;
        case AVAHI_CLIENT_CONNECTING:
            self.GoDown();
            self.TellOutage(avahi_strerror(AVAHI_ERR_NO_DAEMON));
            break;
        case AVAHI_CLIENT_FAILURE:
            self.GoDown();
            self.BeginAnew(avahi_strerror(avahi_client_errno(client)));
            break;
    }
}

void AvahiConnection::Open() {
    int error = AVAHI_OK;
    client = avahi_client_new(avahi_threaded_poll_get(thread), AVAHI_CLIENT_NO_FAIL, OnState, this, &error);
    if (client == nullptr) BeginAnew(avahi_strerror(error));
}

void AvahiConnection::Close() {
    GoDown();
    if (client != nullptr) avahi_client_free(client);
    client = nullptr;
}

void AvahiConnection::OpenLater(unsigned delayMs) {
    const AvahiPoll* const poll = avahi_threaded_poll_get(thread);
    timeval due{};
    avahi_elapse_time(&due, delayMs, 0);
    if (timer == nullptr) {
        timer = poll->timeout_new(poll, &due, OnTimer, this);
    } else {
        poll->timeout_update(timer, &due);
    }
}

void AvahiConnection::GoUp(AvahiClient& running) {
    if (up) return;
    up = true;
    outageTold = false;
    handlers.onUp(*this, running);
}

void AvahiConnection::GoDown() {
    if (!up) return;
    up = false;
    handlers.onDown();
}

void AvahiConnection::TellOutage(const std::string& reason) {
    if (outageTold) return;
    outageTold = true;
    handlers.onOutage(reason);
}

}  // namespace mdns
