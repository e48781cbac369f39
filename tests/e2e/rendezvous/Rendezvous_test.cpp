#include "tests/e2e/rendezvous/RendezvousTest.h"

#include "host_runtime/core/UserLog.h"
#include "host_runtime/network/NetworkSettings.h"
#include "tests/e2e/own_address.h"

namespace rendezvous {
namespace {

std::string PhoneUrl(const e2e::SimulatedPhone& phone) {
    return "ws://" + phone.Address() + ":9001/";
}

std::unique_ptr<e2e::SimulatedPhone> SwitchOn(int number, int width, const char* codec) {
    const std::string size = std::to_string(width) + "x" + std::to_string(width * 9 / 16 / 2 * 2);
    return std::make_unique<e2e::SimulatedPhone>(
        e2e::OwnAddress(number), std::vector<std::string>{"--size", size, "--fps", "15", "--codec", codec});
}

}  // namespace

RendezvousTest::RendezvousTest() {
    host_runtime::ClearUserLog();
    host_runtime::NetworkSettings settings;
    settings.extraCaFile = tests::AuthorityFile();
    host_runtime::SetNetworkSettings(settings);
    service = std::make_unique<RendezvousService>();
    owner = std::make_unique<SessionOwner>();
}

RendezvousTest::~RendezvousTest() {
    owner.reset();
    service.reset();
    host_runtime::SetNetworkSettings({});
}

void RendezvousTest::SwitchOnPhones() {
    firstPhone = SwitchOn(0, kFirstWidth, "vp8");
    secondPhone = SwitchOn(1, kSecondWidth, "h264");
    service->AddPhone(PhoneUrl(*firstPhone));
    service->AddPhone(PhoneUrl(*secondPhone));
}

void RendezvousTest::StartWithBothPhones() {
    SwitchOnPhones();
    owner->Start(service->Address());
    ASSERT_TRUE(BothPhonesAreSeen()) << Everything();
}

bool RendezvousTest::BothPhonesAreSeen() {
    const auto haveJoined = [this] {
        return owner->WasTold("created " + First()) && owner->WasTold("created " + Second());
    };
    return owner->RunUntil(haveJoined) && owner->WaitForMedia(First()) && owner->WaitForMedia(Second()) &&
           owner->Pulled(First()).width == kFirstWidth && owner->Pulled(Second()).width == kSecondWidth;
}

std::vector<std::string> RendezvousTest::UserLogLines() {
    std::vector<std::string> lines;
    for (const host_runtime::UserLogEntry& entry : host_runtime::UserLogEntries())
        lines.push_back(std::to_string(entry.level) + " " + entry.text);
    return lines;
}

std::string RendezvousTest::Everything() const {
    std::string text = trace.Text();
    for (const std::string& line : owner->Told())
        text += "told: " + line + "\n";
    for (const auto* phone : {firstPhone.get(), secondPhone.get()}) {
        if (phone != nullptr) text += const_cast<e2e::SimulatedPhone*>(phone)->Process().Errors();
    }
    return text;
}

}  // namespace rendezvous
