#include "tests/e2e/camera_page/CameraPageTest.h"

#include <regex>

#include "tests/e2e/browser/CameraPattern.h"

namespace camera_page {

std::string ownNetworkProblem;

using rendezvous::Ip;

namespace {

// A browser drops what it is loading when its network changes, and the kernel tells of a carrier up to a
// second later: waits until the interface of this thread's namespace is up.
std::string WaitUntilUp(const std::string& interface) {
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    std::string state;
    do {
        e2e::ChildProcess look(rendezvous::FindProgram("ip"), {"link", "show", "dev", interface});
        look.WaitForEnd(10s);
        state = look.Output();
        if (state.find("state UP") != std::string::npos) return {};
    } while (std::chrono::steady_clock::now() < deadline);
    return interface + " is not up: " + state;
}

}  // namespace

void CameraPageTest::SetUp() {
    ASSERT_EQ(ownNetworkProblem, "");
    ASSERT_TRUE(browser::WriteCameraFile(folder / "camera.y4m"));
    ASSERT_TRUE(browser::WriteMicrophoneFile(folder / "microphone.wav"));
    phonesNetwork = std::make_unique<rendezvous::NetworkNamespace>();
    ASSERT_EQ(phonesNetwork->Problem(), "");
    std::string problems = Ip("link set lo up");
    problems +=
        Ip("link add cable type veth peer name phones netns " + std::to_string(phonesNetwork->ThreadId()));
    problems += Ip("addr add 10.78.0.1/24 dev cable");
    problems += Ip("link set cable addrgenmode none");  // no address that comes later
    problems += Ip("link set cable up");
    phonesNetwork->Run([&problems] {
        problems += Ip("link set lo up");
        problems += Ip("addr add 10.78.0.2/24 dev phones");
        problems += Ip("link set phones addrgenmode none");
        problems += Ip("link set phones up");
        problems += WaitUntilUp("phones");
    });
    problems += WaitUntilUp("cable");
    ASSERT_EQ(problems, "");
    gate = std::make_unique<PhoneGate>();
    ASSERT_EQ(gate->Url(), "https://10.78.0.1:9443/") << gate->Log();
}

// Connections that will never end keep the phones' network alive, and with it the cable.
void CameraPageTest::TearDown() {
    phone.reset();
    Ip("link del cable");
}

std::unique_ptr<CameraPhone> CameraPageTest::StartPhone(CameraPhoneOptions options) {
    std::unique_ptr<CameraPhone> started;
    phonesNetwork->Run([&] { started = std::make_unique<CameraPhone>(options); });
    return started;
}

void CameraPageTest::StartPairedPhone() {
    phone = StartPhone({gate->PairUrl(), folder / "camera.y4m", folder / "microphone.wav", "", "", ""});
    ASSERT_TRUE(phone->WaitForState("waiting", kLaunchLimit)) << phone->Transcript() << gate->Log();
}

void CameraPageTest::StartStampedPhone(const std::string& size, bool canBeLocked) {
    phone = StartPhone({gate->PairUrl(), "", "", size, "", "", canBeLocked});
    ASSERT_TRUE(phone->WaitForState("waiting", kLaunchLimit)) << phone->Transcript() << gate->Log();
}

void CameraPageTest::SetCable(bool isPlugged) {
    ASSERT_EQ(Ip(std::string("link set cable ") + (isPlugged ? "up" : "down")), "");
}

void CameraPageTest::MovePhonesTo(const std::string& address) {
    std::string problems;
    phonesNetwork->Run([&] {
        problems = Ip("addr flush dev phones");
        problems += Ip("addr add " + address + "/24 dev phones");
    });
    ASSERT_EQ(problems, "");
}

bool CameraPageTest::Shows(const std::string& state, int tab, std::chrono::seconds limit) {
    return host.RunUntil([&] { return phone->State(tab) == state; }, limit);
}

bool CameraPageTest::ShowsSentence(const std::string& sentence, int tab, std::chrono::seconds limit) {
    return host.RunUntil([&] { return phone->Says("\"problem\":\"" + sentence + "\"", tab); }, limit);
}

bool CameraPageTest::Done(std::size_t commands, std::chrono::seconds limit) {
    return host.RunUntil([&] { return phone->Count("done") >= commands; }, limit);
}

bool CameraPageTest::TellsALevel(const std::string& lines) {
    static const std::regex level("[0-9] dBFS");
    return std::regex_search(lines, level);
}

std::string CameraPageTest::Troubles(const CameraPhone& from) {
    std::string troubles;
    for (const browser::PhoneEvent& event : from.Events()) {
        if (event.name.starts_with("trouble") || event.name.starts_with("outside"))
            troubles += event.text + "\n";
    }
    return troubles;
}

}  // namespace camera_page
