#include "host/renderer/nxAudioControlsXI.h"
#include "host/renderer/nxRenderer2.h"
#include "tests/unit/host_sources/SourceListFixture.h"

namespace host_runtime {
namespace {

using tests::Calls;

class SourceListTest : public tests::SourceListFixture {};

bool IsAudioEnabled(const Source& source) {
    void* found = nullptr;
    source.AudioRenderer()->QueryInterface("nxAudioControlsXI", &found);
    const auto controls = HostPointer<nxAudioControlsXI>::Adopt(static_cast<nxAudioControlsXI*>(found));
    return controls->IsAudioEnabled();
}

TEST_F(SourceListTest, RunsANewSourceInOneTurn) {
    const auto source = list->Add(" 10.0.0.1 ");
    ASSERT_TRUE(source);
    EXPECT_EQ(factory->TakeCalls(),
              (Calls{"NewSource SOURCE-1", "ActivateSource SOURCE-1", "CreateRenderer SOURCE-1 vido",
                     "CreateRenderer SOURCE-1 audo", "ForwardToSession SOURCE-1 5"}));
    EXPECT_EQ(factory->Entries().at("SOURCE-1").url, "10.0.0.1") << "written after NewSource emptied it";
    EXPECT_EQ(source->State(), SourceState::Active);
    EXPECT_EQ(source->Address(), "10.0.0.1");
    EXPECT_EQ(source->Name(), "Fake phone");
    EXPECT_TRUE(source->VideoRenderer());
    EXPECT_TRUE(IsAudioEnabled(*source)) << "a new source is silent until it is enabled";
    EXPECT_GT(source->FirstActivatedAtUs(), 0);
}

TEST_F(SourceListTest, RefusesWhatIsNoAddressOfAnotherPhone) {
    ASSERT_TRUE(list->Add("10.0.0.1"));
    factory->TakeCalls();
    for (const char* address : {"", "  ", ":9001", "[::1]", "a b", "10.0.0.1", "ws://10.0.0.1:7/"})
        EXPECT_FALSE(list->Add(address)) << address;
    EXPECT_TRUE(factory->TakeCalls().empty());
    EXPECT_EQ(list->Sources().size(), 1U);
}

TEST_F(SourceListTest, StoresANewSourceAndRestoresIt) {
    list->Add("10.0.0.1");
    list->Add("10.0.0.2");
    list->SetAudioMuted("SOURCE-1", true);
    list->Remove("SOURCE-2");
    EndList();
    ASSERT_EQ(store.Sources().size(), 1U) << "the end of the host is no removal";

    plugin.reset();
    factory = new fakes::FakeFactory(registry.Get(), fakes::MakePatternRenderer);
    plugin = std::make_unique<SourcePlugin>(factory);
    MakeList();
    list->RestoreAll();
    const auto source = list->Find("SOURCE-1");
    ASSERT_TRUE(source);
    EXPECT_EQ(source->Address(), "10.0.0.1");
    EXPECT_TRUE(source->audioMuted);
    EXPECT_FALSE(source->IsDiscovered());
    EXPECT_EQ(factory->TakeCalls().front(), "ActivateSource SOURCE-1");
}

TEST_F(SourceListTest, AStoredSourceOfTheAddressKeepsItsIdentifier) {
    StoredSource stored;
    stored.identifier = "STORED";
    stored.settings.SetBool("autoDiscovered", false);
    stored.settings.SetCString("kestrel_ip_address", "10.0.0.7");
    store.Put(stored);
    const auto source = list->Add("ws://10.0.0.7");
    ASSERT_TRUE(source);
    EXPECT_EQ(source->Identifier(), "STORED");
    EXPECT_EQ(store.Sources().size(), 1U);
    EXPECT_EQ(list->Restore("STORED"), source) << "a second time is the same one";
    EXPECT_EQ(list->Restore("UNKNOWN"), nullptr);
}

TEST_F(SourceListTest, DoesNotRunARestoredSourceWhosePhoneIsTaken) {
    for (const char* identifier : {"FIRST", "SECOND"}) {
        StoredSource stored;
        stored.identifier = identifier;
        stored.settings.SetBool("autoDiscovered", false);
        stored.settings.SetCString("kestrel_ip_address", "10.0.0.7");
        store.Put(stored);
    }
    list->RestoreAll();
    const auto second = list->Find("SECOND");
    ASSERT_TRUE(second);
    EXPECT_EQ(second->State(), SourceState::AddressInUse);
    EXPECT_FALSE(second->VideoRenderer());
    EXPECT_EQ(factory->Entries().count("SECOND"), 0U);

    list->Remove("FIRST");
    EXPECT_EQ(second->State(), SourceState::Active) << "the phone is free now";
    EXPECT_TRUE(second->VideoRenderer());
}

TEST_F(SourceListTest, RemovesASourceFromThePluginToo) {
    list->Add("10.0.0.1");
    Settle();
    list->Remove("SOURCE-1");
    EXPECT_EQ(factory->TakeCalls(), (Calls{"ActivateSource SOURCE-1", "PeerLost SOURCE-1"}));
    EXPECT_TRUE(factory->Entries().empty());
    EXPECT_TRUE(store.Sources().empty());
    time.RunDue();
    EXPECT_TRUE(list->Sources().empty()) << "its withdraw is ignored";
    EXPECT_TRUE(list->Add("10.0.0.1")) << "the address is free again";
    list->Remove("UNKNOWN");
}

TEST_F(SourceListTest, ANewSourceMayWaitForItsAddress) {
    const auto source = list->AddWithoutAddress("Balcony");
    ASSERT_TRUE(source);
    EXPECT_EQ(source->Name(), "Balcony");
    EXPECT_EQ(source->State(), SourceState::Active);
    EXPECT_TRUE(source->VideoRenderer()) << "its renderers come before the phone";
    EXPECT_TRUE(list->AddWithoutAddress("")) << "several may wait";
    EXPECT_EQ(list->Find("SOURCE-2")->Name(), "Fake phone");
    Settle();
    source->Settings().SetCString("kestrel_ip_address", "10.0.0.1");
    list->SettingsAccepted("SOURCE-1");
    EXPECT_TRUE(factory->Entries().at("SOURCE-1").running);
    EXPECT_EQ(source->Address(), "10.0.0.1");
}

TEST_F(SourceListTest, StopsTheSessionBeforeItDialsAnotherAddress) {
    list->Add("10.0.0.1");
    Settle();
    EXPECT_TRUE(list->ChangeAddress("SOURCE-1", " 10.0.0.2 "));
    const Calls calls = factory->TakeCalls();
    ASSERT_GE(calls.size(), 2U);
    EXPECT_EQ(calls[0], "StopSession SOURCE-1");
    EXPECT_EQ(calls[1], "ActivateSource SOURCE-1");
    EXPECT_EQ(calls.back(), "ConnectDirect SOURCE-1 10.0.0.2");
    EXPECT_EQ(factory->Entries().at("SOURCE-1").url, "10.0.0.2");
    EXPECT_TRUE(factory->Entries().at("SOURCE-1").running);
    EXPECT_EQ(list->Find("SOURCE-1")->Address(), "10.0.0.2");
    EXPECT_STREQ(store.Find("SOURCE-1")->settings.AsCString("kestrel_ip_address", ""), "10.0.0.2");
}

TEST_F(SourceListTest, DialsAtOnceWhenConnectIsPressedAgain) {
    list->Add("10.0.0.1");
    Settle();
    list->SettingsAccepted("SOURCE-1");
    EXPECT_EQ(factory->TakeCalls(), (Calls{"StartSession SOURCE-1 {\"sessionGuid\":\"SOURCE-1\"} 10.0.0.1"}));
}

TEST_F(SourceListTest, AnEmptyAddressDisconnectsAndKeepsTheSource) {
    list->Add("10.0.0.1");
    Settle();
    EXPECT_TRUE(list->ChangeAddress("SOURCE-1", ""));
    const Calls calls = factory->TakeCalls();
    ASSERT_GE(calls.size(), 4U);
    EXPECT_EQ(calls[0], "ActivateSource SOURCE-1");
    EXPECT_EQ(calls[1], "PeerLost SOURCE-1");
    EXPECT_EQ(calls[2], "ActivateSource SOURCE-1");
    EXPECT_EQ(calls[3], "CreateRenderer SOURCE-1 vido");
    EXPECT_FALSE(factory->Entries().at("SOURCE-1").running);
    time.RunDue();
    EXPECT_EQ(list->Find("SOURCE-1")->State(), SourceState::Offline);
    ASSERT_TRUE(list->Add("10.0.0.1")) << "the address is free";

    EXPECT_TRUE(list->ChangeAddress("SOURCE-1", "10.0.0.3"));
    EXPECT_TRUE(factory->Entries().at("SOURCE-1").running) << "and runs again with another address";
}

TEST_F(SourceListTest, RefusesToChangeToAnotherSourcesAddress) {
    list->Add("10.0.0.1");
    list->Add("10.0.0.2");
    Settle();
    EXPECT_FALSE(list->ChangeAddress("SOURCE-1", "ws://10.0.0.2/"));
    EXPECT_FALSE(list->ChangeAddress("SOURCE-1", "[::1]"));
    EXPECT_FALSE(list->ChangeAddress("UNKNOWN", "10.0.0.9"));
    EXPECT_TRUE(factory->TakeCalls().empty());
    EXPECT_EQ(list->Find("SOURCE-1")->Address(), "10.0.0.1");
}

TEST_F(SourceListTest, KeepsTallyPerSource) {
    list->Add("10.0.0.1");
    list->Add("10.0.0.2");
    list->SetTally("SOURCE-2", TallyState::Program);
    list->SetTally("UNKNOWN", TallyState::Program);
    EXPECT_EQ(factory->tallies.at("SOURCE-1"), 5U);
    EXPECT_EQ(factory->tallies.at("SOURCE-2"), 1U);
}

TEST_F(SourceListTest, TellsAReturningPhoneItsTallyAnew) {
    const auto source = list->Add("10.0.0.1");
    list->SetTally("SOURCE-1", TallyState::Program);
    Settle();
    source->NotePicture(5'000'000);
    time.RunDue();
    EXPECT_TRUE(factory->TakeCalls().empty()) << "the first picture is no return";
    source->NotePicture(5'000'000 + Source::kStallUs);
    time.RunDue();
    EXPECT_TRUE(factory->TakeCalls().empty());
    source->NotePicture(5'000'001 + 2 * Source::kStallUs);
    EXPECT_TRUE(factory->TakeCalls().empty()) << "not on the render thread";
    time.RunDue();
    EXPECT_EQ(factory->TakeCalls(), (Calls{"ForwardToSession SOURCE-1 5", "ForwardToSession SOURCE-1 1"}));
}

TEST_F(SourceListTest, SurvivesAPluginThatThrowsOrRefuses) {
    factory->throwInActivate = true;
    const auto first = list->Add("10.0.0.1");
    ASSERT_TRUE(first);
    EXPECT_EQ(first->State(), SourceState::Inactive);
    factory->throwInActivate = false;
    factory->refuseActivation = true;
    const auto second = list->Add("10.0.0.2");
    ASSERT_TRUE(second);
    EXPECT_EQ(second->State(), SourceState::Inactive);
    factory->refuseActivation = false;
    EXPECT_TRUE(list->ChangeAddress("SOURCE-1", "10.0.0.3"));
    EXPECT_EQ(first->State(), SourceState::Active);
}

TEST_F(SourceListTest, TellsItsListenerOfChanges) {
    int changes = 0;
    list->SetChangeListener([&changes] { ++changes; });
    list->Add("10.0.0.1");
    EXPECT_EQ(changes, 1);
    list->Remove("SOURCE-1");
    EXPECT_EQ(changes, 2);
}

TEST_F(SourceListTest, ReleasesEveryRendererAtItsEnd) {
    const auto source = list->Add("10.0.0.1");
    const std::weak_ptr<nxRenderer2> video = source->VideoRenderer();
    list->ShutDown();
    EXPECT_FALSE(source->VideoRenderer());
    plugin.reset();
    EXPECT_TRUE(video.expired());
    EXPECT_EQ(fakes::FakeFactory::Alive(), 0);
    time.AdvanceBy(60'000'000);  // no job of the list calls the plug-in that is gone
}

}  // namespace
}  // namespace host_runtime
