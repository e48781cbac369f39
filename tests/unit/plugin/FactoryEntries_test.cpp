// What the factory keeps of its sources: which entry knows which phone, and what is left when one ends.
#include "connection/nxWebRtcConnection.h"
#include "host_runtime/core/MainThreadQueue.h"
#include "tests/unit/plugin/FactoryTest.h"

namespace {

using fakes::FakeWebRtc;
using fakes::FakeWebSocket;

class FactoryEntries : public tests::FactoryTest {};

TEST_F(FactoryEntries, OfAJoinedPhoneAreNotDialledAtAnotherAddress) {
    const auto socket = ActivateAndOpen("source");
    Join(socket, "phone", "source");
    factory->StopSession("source");
    Activate("source", "127.0.0.9");
    EXPECT_EQ(UrlOf("source"), kUrl);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 1U);
}

TEST_F(FactoryEntries, KeepAPhoneToTheFirstThatItJoined) {
    const auto first = ActivateAndOpen("first", "127.0.0.2");
    const auto second = ActivateAndOpen("second", "127.0.0.3");
    Join(first, "phone", "first");
    Join(second, "phone", "second");
    factory->StopSession("second");
    Activate("second", "127.0.0.9");  // no phone of its own, so it is dialled
    EXPECT_EQ(UrlOf("second"), "ws://127.0.0.9:9001/");
}

TEST_F(FactoryEntries, OfALostPhoneAreGoneAltogether) {
    zRecord settings = DiscoveredSettings("phone", kAddress);
    factory->ActivateSource("phone", settings);
    Activate("direct", "127.0.0.3");
    zRecord lost = Discovery("phone");
    factory->PeerLost(lost);
    factory->SetTallyValue(1);
    EXPECT_FALSE(factory->IsAddressInUse(kAddress));
    time.AdvanceBy(6 * kSecondUs);
    EXPECT_EQ(UrlOf("phone"), "");
    EXPECT_EQ(UrlOf("direct"), "ws://127.0.0.3:9001/");
}

TEST_F(FactoryEntries, WithoutAnAddressAreLeftAloneByTheSweep) {
    Activate("empty", "");
    time.AdvanceBy(20 * kSecondUs);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 0U);
    EXPECT_EQ(UrlOf("empty"), "");
}

TEST_F(FactoryEntries, LeaveNoJobBehindOnceTheFactoryIsGone) {
    Activate("source");
    EndFactory();
    time.AdvanceBy(120 * kSecondUs);
    EXPECT_EQ(host_runtime::MainThreadQueue::Default().PendingCount(), 0U);
}

}  // namespace
