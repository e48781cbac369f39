// Stories of phones that come and go, told by the real factory, sessions and connections under the host's
// real list of sources, with a network, phones and a WebRTC engine that run on the virtual clock:
//
//   OperatorAddsSource();
//   AfterSeconds(3).PhoneSwitchesOn();
//   AfterSeconds(10).PictureIsThere();
//   ExpectTold(script);              // every line, delay and socket
//   ExpectNothingMultiplied();
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "host/media/nxBufferGroup2.h"
#include "host_runtime/sources/SourceList.h"
#include "tests/fakes/VirtualTime.h"
#include "tests/unit/stories/Media.h"
#include "tests/unit/stories/Phone.h"
#include "tests/unit/stories/PhoneNetwork.h"
#include "tests/unit/stories/Timeline.h"

namespace stories {

class Story : public testing::Test {
public:
    static constexpr const char* kHost = "10.0.0.20";
    static constexpr double kSweep = 6.0;
    static constexpr double kRevival = 15.0;
    // From dialling a phone that answers to its picture.
    static constexpr double kConnect = 0.07;

    Story();
    ~Story() override;

    // --- Time. The story begins at 0.
    Story& AfterSeconds(double seconds);
    double Now() const { return static_cast<double>(NowUs()) / 1e6; }

    // --- The host's side
    Story& OperatorAddsSource(const std::string& host = kHost);
    Story& OperatorMovesSourceTo(const std::string& host);
    Story& OperatorPressesConnect();
    Story& DiscoveryReportsPhone() { return DiscoveryReportsPhoneAt(kHost); }
    Story& DiscoveryReportsPhoneAt(const std::string& host);
    Story& DiscoveryLosesPhone();
    Story& OperatorTakesPhone();
    Story& TallyIs(host_runtime::TallyState state);

    // --- The phone's side; "phone-1" at 10.0.0.20, switched off at first
    Story& PhoneSwitchesOn();
    Story& PhoneSwitchesOff();
    Story& PhoneSaysGoodbye();
    Story& PhoneLeavesReach();
    Story& PhoneReturnsToReach();
    Story& PhoneGoesSilent();
    Story& PhoneBecomesSomeServer();
    Story& PhoneAnswersJoins(Phone::JoinAnswer answer);
    Story& ConnectionEnds(std::optional<cWebSocket::Error> error);
    Story& SocketReportsErrors(int count);
    Phone& ThePhone() { return *network.PhoneAt(kHost); }
    PhoneNetwork& Network() { return network; }

    // --- What came of it
    // A picture of the phone that is not older than two frames.
    Story& PictureIsThere(const std::string& phone = "phone-1");
    Story& PictureIsMissing();
    // How long the picture took since PhoneSwitchesOn, PhoneReturnsToReach, PhoneAnswersJoins,
    // ConnectionEnds, SocketReportsErrors or OperatorMovesSourceTo; fails when it is missing.
    double PictureTook() const;
    void ExpectTold(const Script& script) const;
    std::size_t TimesTold(const std::string& ending) const;
    std::size_t JobsPending() const;
    // One socket, one client at the phone, one connection, one chain of pings; and two minutes in which
    // nothing is told.
    void ExpectNothingMultiplied();

    std::int64_t NowUs() const { return time.NowUs() - fakes::VirtualTime::kStartUs; }

private:
    void RunUntil(std::int64_t endUs);
    void Tell(const std::string& text) { timeline.Add(NowUs(), text); }
    void PullPictures();
    void PhoneAnswersFromNowOn() { answersSinceUs = NowUs(); }
    void HasSource(const host_runtime::SourceList::SourcePointer& added);

    fakes::VirtualTime time;
    Timeline timeline;
    PhoneNetwork network;
    Media media;
    host_runtime::HostPointer<host_runtime::SourceRegistry> registry;
    std::unique_ptr<host_runtime::SourcePlugin> plugin;
    host_runtime::HostPointer<nxBufferGroup2> bufferGroup;
    std::shared_ptr<host_runtime::SourceList> list;

    host_runtime::SourceList::SourcePointer source;
    int lastLuma = -1;
    int lastPeerConnection = -1;
    std::string pictureOf;
    std::optional<std::int64_t> lastPictureUs;
    std::int64_t answersSinceUs = 0;
    std::optional<std::int64_t> pictureTookUs;
};

}  // namespace stories
