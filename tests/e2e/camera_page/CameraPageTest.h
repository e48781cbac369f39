// A host and the camera page's server on one machine, phones on another: two network namespaces that a cable
// joins, so that nothing else is in reach.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/e2e/browser/PulledMedia.h"
#include "tests/e2e/camera_page/CameraPhone.h"
#include "tests/e2e/camera_page/PhoneGate.h"
#include "tests/e2e/host/HostHarness.h"
#include "tests/e2e/rendezvous/NetworkNamespace.h"

namespace camera_page {

using namespace std::chrono_literals;

inline constexpr auto kLaunchLimit = 60s;  // a browser on a busy machine
inline constexpr auto kMediaLimit = 30s;
inline const std::string kFirstPhone = "127.0.1.1";  // phones are given addresses in order

extern std::string ownNetworkProblem;

class CameraPageTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // A browser in the phones' network.
    std::unique_ptr<CameraPhone> StartPhone(CameraPhoneOptions options);
    // One with the camera and microphone files, paired by the address that the server shows, and waiting.
    void StartPairedPhone();
    void StartStampedPhone(const std::string& size, bool canBeLocked = false);

    void SetCable(bool isPlugged);
    // The phones' interface gets another address, as in another Wi-Fi.
    void MovePhonesTo(const std::string& address);

    // Waits, while the host runs, until the phone shows a state, or one sentence of what is wrong.
    bool Shows(const std::string& state, int tab = 1, std::chrono::seconds limit = 20s);
    bool ShowsSentence(const std::string& sentence, int tab = 1, std::chrono::seconds limit = 20s);
    // Until the phone has done so many things in all.
    bool Done(std::size_t commands, std::chrono::seconds limit = 20s);
    std::string Logs() const { return phone->Transcript() + gate->Log(); }

    // Do halyard's lines say that it hears something? Silence has no level.
    static bool TellsALevel(const std::string& lines);
    // Everything that the pages did that they should not.
    static std::string Troubles(const CameraPhone& from);

    const tests::TemporaryDirectory folder;
    std::unique_ptr<rendezvous::NetworkNamespace> phonesNetwork;
    std::unique_ptr<PhoneGate> gate;
    std::unique_ptr<CameraPhone> phone;
    e2e::HostHarness host{{240, 1}};
};

}  // namespace camera_page
