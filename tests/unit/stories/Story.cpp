#include "tests/unit/stories/Story.h"

#include <algorithm>
#include <cmath>

#include "connection/nxWebRtcConnection.h"
#include "host/media/nxBuffer2.h"
#include "host/renderer/nxRenderer2.h"
#include "host_runtime/core/MainThreadQueue.h"
#include "host_runtime/core/TraceOutput.h"
#include "host_runtime/core/UserLog.h"
#include "host_runtime/media/BufferGroup.h"
#include "plugin/initialize_sources_plugin.h"
#include "session/nxWebRtcSession.h"

namespace stories {

using fakes::FakeWebRtc;
using host_runtime::MainThreadQueue;
using host_runtime::SourceList;

namespace {

constexpr std::int64_t kSecondUs = 1'000'000;
constexpr std::int64_t kFreshUs = 2 * Media::kFramePeriodUs;

}  // namespace

Story::Story()
    : network([this] { return time.NowUs(); }, [this](const std::string& text) { Tell(text); }),
      media(network, [this] { PullPictures(); }) {
    FakeWebRtc::Forget();
    host_runtime::SetTraceSink([this](zFourCC kind, const std::string& text) {
        EXPECT_EQ(kind, FourCC("note"));
        Tell("trace " + text);
    });
    host_runtime::ClearUserLog();
    host_runtime::SetUserLogListener([this](const host_runtime::UserLogEntry& entry) {
        Tell("log " + std::to_string(entry.level) + " " + entry.text);
    });
    registry =
        host_runtime::HostPointer<host_runtime::SourceRegistry>::Adopt(new host_runtime::SourceRegistry);
    plugin = std::make_unique<host_runtime::SourcePlugin>(initialize_sources_plugin(registry.Get()));
    bufferGroup = host_runtime::HostPointer<nxBufferGroup2>::Adopt(host_runtime::BufferGroup::Make());
    list = std::make_shared<SourceList>(*plugin, nullptr, bufferGroup.Get());
    registry->SetListener(list);
    list->Start();
    network.AddPhone(kHost, "phone-1");
}

Story::~Story() {
    source.reset();
    list->ShutDown();
    list.reset();
    plugin.reset();
    host_runtime::SetTraceSink({});
    host_runtime::SetUserLogListener({});
    FakeWebRtc::Forget();
}

Story& Story::AfterSeconds(double seconds) {
    RunUntil(NowUs() + std::llround(seconds * 1e6));
    return *this;
}

// Main-thread jobs, network and engine each at their time.
void Story::RunUntil(std::int64_t endUs) {
    const std::int64_t endAtUs = endUs + fakes::VirtualTime::kStartUs;
    while (true) {
        media.Play();
        std::int64_t nextUs = endAtUs + 1;
        for (const auto due : {MainThreadQueue::Default().NextDueUs(), network.NextDueUs()})
            nextUs = std::min(nextUs, due.value_or(nextUs));
        if (nextUs > endAtUs) break;
        time.AdvanceBy(std::max<std::int64_t>(nextUs - time.NowUs(), 0));
        network.RunDue();
    }
    time.AdvanceBy(endAtUs - time.NowUs());
}

void Story::HasSource(const SourceList::SourcePointer& added) {
    ASSERT_NE(added, nullptr);
    source = added;
    if (!source->IsDiscovered()) timeline.Rename(source->Identifier(), "SOURCE");
    RunUntil(NowUs());
}

Story& Story::OperatorAddsSource(const std::string& host) {
    HasSource(list->Add(host));
    return *this;
}

Story& Story::OperatorMovesSourceTo(const std::string& host) {
    PhoneAnswersFromNowOn();
    EXPECT_TRUE(list->ChangeAddress(source->Identifier(), host));
    return AfterSeconds(0);
}

Story& Story::OperatorPressesConnect() {
    list->SettingsAccepted(source->Identifier());
    return AfterSeconds(0);
}

Story& Story::DiscoveryReportsPhoneAt(const std::string& host) {
    list->PhoneDiscovered({"phone-1", host, "9001", "Petrel"});
    return AfterSeconds(0);
}

Story& Story::DiscoveryLosesPhone() {
    list->PhoneLost("phone-1");
    return AfterSeconds(0);
}

Story& Story::OperatorTakesPhone() {
    HasSource(list->ActivatePhone("phone-1"));
    return *this;
}

Story& Story::TallyIs(host_runtime::TallyState state) {
    list->SetTally(source->Identifier(), state);
    return AfterSeconds(0);
}

Story& Story::PhoneSwitchesOn() {
    PhoneAnswersFromNowOn();
    ThePhone().SwitchOn();
    return AfterSeconds(0);
}

Story& Story::PhoneSwitchesOff() {
    ThePhone().SwitchOff();
    return AfterSeconds(0);
}

Story& Story::PhoneSaysGoodbye() {
    ThePhone().SayGoodbye();
    return AfterSeconds(0);
}

Story& Story::PhoneLeavesReach() {
    ThePhone().LeaveReach();
    return AfterSeconds(0);
}

Story& Story::PhoneReturnsToReach() {
    PhoneAnswersFromNowOn();
    ThePhone().ReturnToReach();
    return AfterSeconds(0);
}

Story& Story::PhoneGoesSilent() {
    ThePhone().GoSilent();
    return AfterSeconds(0);
}

Story& Story::PhoneBecomesSomeServer() {
    ThePhone().BecomeSomeServer();
    return AfterSeconds(0);
}

Story& Story::PhoneAnswersJoins(Phone::JoinAnswer answer) {
    PhoneAnswersFromNowOn();
    ThePhone().AnswerJoins(answer);
    return *this;
}

Story& Story::ConnectionEnds(std::optional<cWebSocket::Error> error) {
    PhoneAnswersFromNowOn();
    ThePhone().EndConnections(error);
    return AfterSeconds(0);
}

Story& Story::SocketReportsErrors(int count) {
    PhoneAnswersFromNowOn();
    ThePhone().MakeClientsReportErrors(cWebSocket::Error::Lost, count);
    return AfterSeconds(0);
}

void Story::PullPictures() {
    const auto renderer = source ? source->VideoRenderer() : nullptr;
    if (!renderer) return;
    nxBuffer2* pulled = nullptr;
    ASSERT_EQ(renderer->BufferForParameters(&pulled, {NowUs(), 1}), kStatusOk);
    const auto picture = host_runtime::HostPointer<nxBuffer2>::Adopt(pulled);
    const nxPixelStore pixels = picture->LockPixelsForWriting();
    const int luma = pixels.baseAddress[1];
    const int number = pixels.baseAddress[0] - Media::kChromaOfPhoneZero;
    const int peerConnection = pixels.baseAddress[2];
    picture->UnlockPixels();
    if (luma == lastLuma) return;
    lastLuma = luma;

    const std::string phone = "phone-" + std::to_string(number);
    const bool isBack =
        !lastPictureUs || NowUs() - *lastPictureUs > kFreshUs || peerConnection != lastPeerConnection;
    lastPeerConnection = peerConnection;
    if (isBack || *lastPictureUs < answersSinceUs) pictureTookUs = NowUs() - answersSinceUs;
    if (isBack) Tell("picture of " + phone);
    pictureOf = phone;
    lastPictureUs = NowUs();
    source->NotePicture(time.NowUs());
}

Story& Story::PictureIsThere(const std::string& phone) {
    EXPECT_TRUE(lastPictureUs && NowUs() - *lastPictureUs <= kFreshUs) << "no picture at " << Now();
    EXPECT_EQ(pictureOf, phone);
    return *this;
}

Story& Story::PictureIsMissing() {
    EXPECT_TRUE(!lastPictureUs || NowUs() - *lastPictureUs > kFreshUs) << "a picture at " << Now();
    return *this;
}

double Story::PictureTook() const {
    EXPECT_TRUE(lastPictureUs && *lastPictureUs >= answersSinceUs) << "no picture since";
    return static_cast<double>(pictureTookUs.value_or(0)) / 1e6;
}

void Story::ExpectTold(const Script& script) const {
    const auto& told = timeline.Lines();
    const auto& expected = script.Lines();
    const auto [toldAt, expectedAt] =
        std::mismatch(told.begin(), told.end(), expected.begin(), expected.end());
    if (toldAt == told.end() && expectedAt == expected.end()) return;
    std::string message = "line " + std::to_string(toldAt - told.begin() + 1) + "\n";
    constexpr std::ptrdiff_t kContext = 6;
    for (auto line = std::max(told.begin(), toldAt - std::min(kContext, toldAt - told.begin()));
         line != told.end() && line < toldAt + kContext; ++line)
        message += (line == toldAt ? "told >     " : "told       ") + *line + "\n";
    for (auto line = expectedAt; line != expected.end() && line < expectedAt + kContext; ++line)
        message += "expected   " + *line + "\n";
    ADD_FAILURE() << message << told.size() << " lines told, " << expected.size() << " expected";
}

std::size_t Story::TimesTold(const std::string& ending) const {
    return static_cast<std::size_t>(
        std::count_if(timeline.Lines().begin(), timeline.Lines().end(), [&](const std::string& line) {
            return line.size() >= ending.size() &&
                   line.compare(line.size() - ending.size(), ending.size(), ending) == 0;
        }));
}

std::size_t Story::JobsPending() const {
    return MainThreadQueue::Default().PendingCount();
}

void Story::ExpectNothingMultiplied() {
    // The chains of pings of replaced sockets end when they fall due.
    RunUntil(NowUs() + 61 * kSecondUs);
    const std::size_t linesBefore = timeline.Lines().size();
    const int pingsBefore = network.KeepAlives();
    RunUntil(NowUs() + 120 * kSecondUs);
    EXPECT_EQ(network.KeepAlives() - pingsBefore, 2) << "chains of pings";
    EXPECT_EQ(timeline.Lines().size(), linesBefore) << timeline.Lines().back();
    EXPECT_EQ(NetworkSocket::Alive(), 1);
    EXPECT_EQ(nxWebRtcSession::Alive(), 1);
    EXPECT_EQ(nxWebRtcConnection::Alive(), 1);
    EXPECT_EQ(Media::LivingPeerConnections(), 1U);
    std::size_t clients = 0;
    for (const Phone* phone : network.Phones())
        clients += phone->OpenClients();
    EXPECT_EQ(clients, 1U);
    // Pings and the host's revival, for a direct source also the sweep.
    EXPECT_EQ(JobsPending(), source->IsDiscovered() ? 2U : 3U);
    PictureIsThere(pictureOf);
}

}  // namespace stories
