// A phone's client object and a receiver, wired to each other without a network between their messages.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "apps/petrel/PhoneClient.h"
#include "support/weak_callback.h"
#include "tests/e2e/petrel/TestReceiver.h"

namespace tests {

// Takes what the phone sends and hands it to whoever is set.
class RecordingConnection : public web_server::WebSocketConnection {
public:
    void Send(std::string text) override {
        std::function<void(const std::string&)> forward;
        {
            support::MutexLock lock(mutex);
            sent.push_back(text);
            forward = listener;
        }
        changed.NotifyAll();
        if (forward) forward(text);
    }
    void Close() override {}
    std::string RemoteAddress() const override { return "test"; }

    void SetListener(std::function<void(const std::string&)> toSet) {
        support::MutexLock lock(mutex);
        listener = std::move(toSet);
    }
    std::vector<std::string> Sent() {
        support::MutexLock lock(mutex);
        return sent;
    }

private:
    support::Mutex mutex;
    support::Condition changed;
    std::vector<std::string> sent GUARDED_BY(mutex);
    std::function<void(const std::string&)> listener GUARDED_BY(mutex);
};

class TestPhone {
public:
    explicit TestPhone(petrel::Studio sharedStudio, const std::string& address = "127.0.0.2")
        : studio(sharedStudio),
          identity(petrel::MakePhoneIdentity(address, "", false)),
          client(std::make_shared<petrel::PhoneClient>(identity, studio, connection)) {}
    // The client's media must end on the control thread.
    ~TestPhone() {
        connection->SetListener(nullptr);
        Settle();  // a receiver that is just being told something ends first
        studio.loop.Post([last = std::exchange(client, nullptr)] {});
        Settle();
    }

    // A receiver that offers to this phone and hears it from the moment on when the phone takes the offer:
    // an answer to an earlier offer is not for it.
    std::shared_ptr<TestReceiver> Offer(const std::string& videoFormat) {
        const auto itself = std::make_shared<std::weak_ptr<TestReceiver>>();
        auto receiver = std::make_shared<TestReceiver>(
            videoFormat, identity.peersIdentifier, [this, itself](std::string text) {
                if (!text.starts_with(R"({"action":"masterMadeOffer")")) return Say(std::move(text));
                Say(std::move(text), [to = connection, listener = *itself] {
                    to->SetListener(support::WeakCallback(
                        listener,
                        [](TestReceiver& self, const std::string& message) { self.OnMessage(message); }));
                });
            });
        *itself = receiver;
        receiver->Offer();
        return receiver;
    }
    // `justBefore` runs on the control thread, when the phone is about to take `text`.
    void Say(
        std::string text, std::function<void()> justBefore = [] {}) {
        studio.loop.Post([weak = weakClient, text = std::move(text), justBefore = std::move(justBefore)] {
            justBefore();
            if (const auto alive = weak.lock()) alive->OnMessage(text);
        });
    }
    // Waits until the control thread has done all that was posted.
    void Settle() {
        support::Mutex mutex;
        support::Condition done;
        bool isDone = false;
        studio.loop.Post([&] {
            support::MutexLock lock(mutex);
            isDone = true;
            done.NotifyOne();
        });
        support::MutexLock lock(mutex);
        while (!isDone)
            done.Wait(mutex);
    }
    std::vector<std::string> Sent() { return connection->Sent(); }
    const petrel::PhoneIdentity& Identity() const { return identity; }

private:
    petrel::Studio studio;
    petrel::PhoneIdentity identity;
    std::shared_ptr<RecordingConnection> connection = std::make_shared<RecordingConnection>();
    std::shared_ptr<petrel::PhoneClient> client;
    const std::weak_ptr<petrel::PhoneClient> weakClient = client;  // for receivers' threads
};

}  // namespace tests
