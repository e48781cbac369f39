#include "host/renderer/nxRenderer2.h"
#include "host_runtime/core/UserLog.h"
#include "tests/unit/host_sources/SourceListFixture.h"

namespace host_runtime {
namespace {

using tests::Calls;

constexpr std::int64_t kSecondUs = 1'000'000;
constexpr const char* kDial = "StartSession PHONE {\"sessionGuid\":\"PHONE\"} 10.0.0.5:9001";

class DiscoveryTest : public tests::SourceListFixture {
protected:
    static DiscoveredPhone Phone(const char* host = "10.0.0.5") { return {"PHONE", host, "9001", "Studio"}; }

    SourceList::SourcePointer RunningPhone() {
        list->PhoneDiscovered(Phone());
        time.RunDue();
        auto source = list->ActivatePhone("PHONE");
        EXPECT_TRUE(source);
        Settle();
        return source;
    }
};

TEST_F(DiscoveryTest, OffersAnAnnouncedPhoneAndRunsItOnRequest) {
    EXPECT_EQ(list->ActivatePhone("PHONE"), nullptr);
    list->PhoneDiscovered(Phone());
    EXPECT_TRUE(list->Phones().empty()) << "the plug-in's announcement is answered later";
    time.RunDue();
    ASSERT_EQ(list->Phones().size(), 1U);
    EXPECT_TRUE(list->Sources().empty()) << "nobody asked for it";
    factory->TakeCalls();

    const auto source = list->ActivatePhone("PHONE");
    ASSERT_TRUE(source);
    EXPECT_EQ(factory->TakeCalls(), (Calls{"ActivateSource PHONE", "CreateRenderer PHONE vido",
                                           "CreateRenderer PHONE audo", "ForwardToSession PHONE 5"}));
    EXPECT_TRUE(source->IsDiscovered());
    EXPECT_EQ(source->Name(), "Studio");
    EXPECT_EQ(source->Address(), "10.0.0.5:9001");
    EXPECT_STREQ(source->Settings().AsCString("unique_id", ""), "PHONE");
    EXPECT_NE(store.Find("PHONE"), nullptr);
    EXPECT_EQ(list->ActivatePhone("PHONE"), source);
}

TEST_F(DiscoveryTest, RejectsUnusablePhonesAtTheDoor) {
    for (const DiscoveredPhone& phone :
         {DiscoveredPhone{"", "10.0.0.5", "", "x"}, DiscoveredPhone{"a\"b", "10.0.0.5", "", "x"},
          DiscoveredPhone{"\xFF", "10.0.0.5", "", "x"}, DiscoveredPhone{"PHONE", "", "", "x"},
          DiscoveredPhone{"PHONE", "fe80::1", "", "x"}, DiscoveredPhone{"PHONE", "10.0.0.5", "90x1", "x"},
          DiscoveredPhone{"PHONE", "10.0.0.5", "123456", "x"}}) {
        list->PhoneDiscovered(phone);
    }
    time.RunDue();
    EXPECT_TRUE(factory->TakeCalls().empty());
    EXPECT_TRUE(list->Phones().empty());
}

TEST_F(DiscoveryTest, DialsARunningPhoneAgainWithEachReport) {
    RunningPhone();
    list->PhoneDiscovered(Phone());
    time.RunDue();
    EXPECT_EQ(factory->TakeCalls(), (Calls{"PeerDiscovered PHONE", kDial}));
}

TEST_F(DiscoveryTest, DialsARunningPhoneEveryFifteenSeconds) {
    RunningPhone();
    time.AdvanceBy(14 * kSecondUs);
    EXPECT_TRUE(factory->TakeCalls().empty());
    time.AdvanceBy(32 * kSecondUs);
    EXPECT_EQ(factory->TakeCalls(), (Calls{kDial, kDial, kDial}));
}

TEST_F(DiscoveryTest, DoesNotDialDirectSourcesOnItsTimer) {
    list->Add("10.0.0.1");
    Settle();
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_TRUE(factory->TakeCalls().empty()) << "the plug-in does that itself";
}

TEST_F(DiscoveryTest, AWithdrawMeansOfflineAndAPhoneStillSeenIsReportedAgain) {
    const auto source = RunningPhone();
    factory->WithdrawFromHost("PHONE");
    time.RunDue();
    EXPECT_EQ(source->State(), SourceState::Offline);
    EXPECT_EQ(list->Find("PHONE"), source) << "not deleted";
    EXPECT_TRUE(source->VideoRenderer()) << "the last picture stays";
    EXPECT_TRUE(factory->TakeCalls().empty()) << "not at once: a phone that keeps closing would spin";
    time.AdvanceBy(SourceList::kRevivalAfterWithdrawUs);
    EXPECT_EQ(factory->TakeCalls(), (Calls{"PeerDiscovered PHONE", kDial}));
    source->NotePicture(1);
    time.RunDue();
    EXPECT_EQ(source->State(), SourceState::Active);
}

TEST_F(DiscoveryTest, ManyWithdrawsCauseOneReport) {
    RunningPhone();
    for (int count = 0; count < 5; ++count)
        factory->WithdrawFromHost("PHONE");
    time.AdvanceBy(SourceList::kRevivalAfterWithdrawUs);
    EXPECT_EQ(factory->TakeCalls(), (Calls{"PeerDiscovered PHONE", kDial}));
}

TEST_F(DiscoveryTest, IgnoresWithdrawsOfUnknownSources) {
    list->Add("10.0.0.1");
    Settle();
    factory->WithdrawFromHost("SOMEBODY");
    factory->WithdrawFromHost("");
    time.AdvanceBy(5 * kSecondUs);
    EXPECT_TRUE(factory->TakeCalls().empty());
    EXPECT_EQ(list->Find("SOURCE-1")->State(), SourceState::Active);
}

TEST_F(DiscoveryTest, ALostPhoneHasAGraceTime) {
    const auto source = RunningPhone();
    list->PhoneLost("PHONE");
    time.AdvanceBy(14 * kSecondUs);
    list->PhoneDiscovered(Phone());
    time.AdvanceBy(30 * kSecondUs);
    const Calls calls = factory->TakeCalls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "PeerLost PHONE"), 0);
    EXPECT_TRUE(source->VideoRenderer());
}

TEST_F(DiscoveryTest, ASecondLossDoesNotProlongTheGrace) {
    RunningPhone();
    list->PhoneLost("PHONE");
    time.AdvanceBy(10 * kSecondUs);
    list->PhoneLost("PHONE");
    time.AdvanceBy(5 * kSecondUs);
    const Calls calls = factory->TakeCalls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "PeerLost PHONE"), 1);
    list->PhoneLost("UNKNOWN");
}

TEST_F(DiscoveryTest, AReturningPhoneGetsNewRenderersAndItsControls) {
    const auto source = RunningPhone();
    list->SetTally("PHONE", TallyState::ProgramAndPreview);
    const auto before = source->VideoRenderer();
    list->PhoneLost("PHONE");
    time.AdvanceBy(SourceList::kLostGraceUs);
    EXPECT_FALSE(source->VideoRenderer());
    EXPECT_EQ(source->State(), SourceState::Offline);
    EXPECT_TRUE(factory->Entries().empty());
    EXPECT_TRUE(list->Phones().empty());
    Settle();

    list->PhoneDiscovered(Phone());
    time.RunDue();
    EXPECT_EQ(factory->TakeCalls(),
              (Calls{"PeerDiscovered PHONE", "ActivateSource PHONE", "CreateRenderer PHONE vido",
                     "CreateRenderer PHONE audo", "ForwardToSession PHONE 2"}));
    EXPECT_EQ(source->State(), SourceState::Active);
    ASSERT_TRUE(source->VideoRenderer());
    EXPECT_NE(source->VideoRenderer(), before);
}

TEST_F(DiscoveryTest, AnotherAddressStopsTheSessionFirst) {
    const auto source = RunningPhone();
    list->PhoneDiscovered(Phone("10.0.0.6"));
    time.RunDue();
    EXPECT_EQ(factory->TakeCalls(), (Calls{"PeerDiscovered PHONE", "StopSession PHONE",
                                           "StartSession PHONE {\"sessionGuid\":\"PHONE\"} 10.0.0.6:9001"}));
    EXPECT_EQ(source->Address(), "10.0.0.6:9001");
    EXPECT_STREQ(store.Find("PHONE")->settings.AsCString("kestrel_ip_address", ""), "10.0.0.6:9001");
}

TEST_F(DiscoveryTest, ARestoredPhoneIsDialledWhenItComesLate) {
    RunningPhone();
    EndList();
    plugin.reset();
    factory = new fakes::FakeFactory(registry.Get(), fakes::MakePatternRenderer);
    plugin = std::make_unique<SourcePlugin>(factory);
    MakeList();
    list->RestoreAll();
    Settle();
    list->PhoneDiscovered(Phone());
    time.RunDue();
    EXPECT_EQ(factory->TakeCalls(), (Calls{"PeerDiscovered PHONE", kDial}));
}

TEST_F(DiscoveryTest, TellsTheOperatorOfPhonesThatComeAndGo) {
    const auto texts = [] {
        std::vector<std::string> all;
        for (const UserLogEntry& entry : UserLogEntries())
            all.push_back(std::to_string(entry.level) + " " + entry.text);
        return all;
    };
    ClearUserLog();
    list->PhoneDiscovered(Phone());
    list->PhoneDiscovered(Phone());
    list->PhoneLost("PHONE");
    list->PhoneDiscovered(Phone());
    EXPECT_EQ(texts(), (Calls{"0 The phone \"Studio\" is in the network, at 10.0.0.5."}));
    list->PhoneLost("PHONE");
    time.AdvanceBy(SourceList::kLostGraceUs);
    EXPECT_EQ(texts(), (Calls{"0 The phone \"Studio\" is in the network, at 10.0.0.5.",
                              "1 The phone \"Studio\" is no longer in the network."}));
    ClearUserLog();
    list->PhoneDiscovered({"OTHER", "10.0.0.6", "", ""});
    EXPECT_EQ(texts(), (Calls{"0 The phone OTHER is in the network, at 10.0.0.6."}));
    ClearUserLog();
}

TEST_F(DiscoveryTest, AKnownPhoneKeepsItsMutes) {
    RunningPhone();
    list->SetAudioMuted("PHONE", true);
    list->SetVideoMuted("PHONE", true);
    EndList();
    plugin.reset();
    factory = new fakes::FakeFactory(registry.Get(), fakes::MakePatternRenderer);
    plugin = std::make_unique<SourcePlugin>(factory);
    MakeList();
    const auto source = RunningPhone();
    EXPECT_TRUE(source->audioMuted);
    EXPECT_TRUE(source->videoMuted);
    EXPECT_TRUE(store.Find("PHONE")->audioMuted);
}

TEST_F(DiscoveryTest, ARemovedPhoneThatIsStillThereIsOfferedAgain) {
    RunningPhone();
    list->Remove("PHONE");
    EXPECT_TRUE(list->Sources().empty());
    time.AdvanceBy(2 * kSecondUs);
    ASSERT_EQ(list->Phones().size(), 1U);
    EXPECT_TRUE(list->Sources().empty());
    EXPECT_TRUE(list->ActivatePhone("PHONE"));
}

}  // namespace
}  // namespace host_runtime
