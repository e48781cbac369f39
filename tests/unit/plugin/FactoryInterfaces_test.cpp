#include "host/renderer/nxSourceTypeInfo.h"
#include "session/nxWebRtcSession.h"
#include "tests/unit/plugin/FactoryTest.h"

namespace {

using testing::IsEmpty;

class FactoryInterfaces : public tests::FactoryTest {
protected:
    // The count, without changing it.
    std::uint32_t Count() {
        factory->AddRef();
        return factory->Release();
    }
    void ExpectFound(const char* name, void* part) {
        void* out = nullptr;
        const std::uint32_t before = Count();
        EXPECT_EQ(factory->QueryInterface(name, &out), kStatusOk) << name;
        EXPECT_EQ(out, part) << name;
        EXPECT_EQ(Count(), before + 1) << name;
        factory->Release();
        EXPECT_EQ(Count(), before) << name;
    }
};

TEST_F(FactoryInterfaces, AreFoundByNameWithAReference) {
    ExpectFound("nxXISourceGUI", static_cast<nxXISourceGUI*>(factory));
    ExpectFound("nxXISourceProperties", static_cast<nxXISourceProperties*>(factory));
    ExpectFound("nxWebRtcRendererXI", static_cast<nxWebRtcRendererXI*>(factory));
    ExpectFound("nxKestrelRendererXI", static_cast<nxKestrelRendererXI*>(factory));
}

TEST_F(FactoryInterfaces, AreConfirmedWithoutAReferenceWhenNobodyTakesThem) {
    const std::uint32_t before = Count();
    EXPECT_EQ(factory->QueryInterface("nxXISourceGUI", nullptr), kStatusOk);
    EXPECT_EQ(Count(), before);
}

TEST_F(FactoryInterfaces, AreNamedExactly) {
    for (const char* name :
         {"nxxisourcegui", "NXXISOURCEGUI", "nxXISourceGUI ", "nxXISource", "nxxisourceproperties",
          "NXWEBRTCRENDERERXI", "nxKestrelRendererXi", "", "nonsense"}) {
        void* out = this;
        EXPECT_NE(factory->QueryInterface(name, &out), kStatusOk) << name;
        EXPECT_EQ(out, nullptr) << name;
    }
    void* out = this;
    EXPECT_NE(factory->QueryInterface(nullptr, &out), kStatusOk);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(Count(), 1U);
}

TEST_F(FactoryInterfaces, OfTheHostsBaseAreAnsweredByTheBase) {
    void* out = nullptr;
    EXPECT_EQ(factory->QueryInterface("xIUnknown", &out), kStatusOk);
    ASSERT_NE(out, nullptr);
    factory->Release();
}

TEST_F(FactoryInterfaces, ShareOneCount) {
    nxWebRtcRendererXI* const part = factory;
    EXPECT_EQ(part->AddRef(), 2U);
    void* out = nullptr;
    EXPECT_EQ(part->QueryInterface("nxXISourceProperties", &out), kStatusOk);
    EXPECT_EQ(out, static_cast<nxXISourceProperties*>(factory));
    static_cast<nxXISourceProperties*>(out)->Release();
    static_cast<nxKestrelRendererXI*>(factory)->Release();
    EXPECT_EQ(Count(), 1U);
}

TEST_F(FactoryInterfaces, EndTheFactoryWithTheLastReferenceOfAnyOfThem) {
    nxXISourceGUI* const part = factory;
    EXPECT_EQ(part->Release(), 0U);
    factory = nullptr;
    EXPECT_EQ(nxKestrelRenderersFactory::Alive(), 0);
}

class FactoryLife : public tests::FactoryTest {};

TEST_F(FactoryLife, HoldsTheRegistryFromItsStartToItsEnd) {
    EXPECT_EQ(registry.references, 2);
    Activate("source");
    std::int64_t sessionsAtRelease = 0;
    registry.onRelease = [&] { sessionsAtRelease = nxWebRtcSession::Alive(); };
    EndFactory();
    EXPECT_EQ(registry.references, 1);
    EXPECT_EQ(registry.releases, 1);
    EXPECT_EQ(sessionsAtRelease, 1);  // before the members go
    EXPECT_EQ(nxWebRtcSession::Alive(), 0);
}

TEST_F(FactoryLife, TellsTheRegistryNothingWhileItEnds) {
    Join(ActivateAndOpen("source"), "phone", "source");
    registry.withdrawn.clear();
    const auto socket = Socket();
    EndFactory();
    EXPECT_THAT(registry.withdrawn, IsEmpty());
    EXPECT_EQ(socket->CloseCount(), 1);
}

TEST_F(FactoryLife, EndsWithDeleteSelf) {
    xCUnknown::DeleteSelf(nullptr);
    xCUnknown::DeleteSelf(factory);
    factory = nullptr;
    EXPECT_EQ(nxKestrelRenderersFactory::Alive(), 0);
    EXPECT_EQ(registry.references, 1);
}

TEST_F(FactoryLife, LeavesNoJobBehind) {
    Activate("source");  // the sweep runs
    const auto socket = Socket();
    socket->BecomeOpen();
    EndFactory();
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(fakes::FakeWebSocket::MadeCount(), 1U);
}

class FactoryAnswers : public tests::FactoryTest {};

TEST_F(FactoryAnswers, DescribeTheKindOfSource) {
    nxSourceTypeInfo info;
    factory->GetSourceTypeInfo(info);
    EXPECT_EQ(info.typeIdentifier, "8194E1DE-8A84-4714-9866-9605C4807817");
    EXPECT_EQ(info.displayName, "iOS Cam - Petrel");
    EXPECT_TRUE(info.canBeAdded);
    EXPECT_EQ(info.category, 4U);
}

TEST_F(FactoryAnswers, GiveTwoChannelsAsText) {
    EXPECT_TRUE(factory->HasProperty("source", "NumChannels"));
    EXPECT_FALSE(factory->HasProperty("source", "numchannels"));
    EXPECT_FALSE(factory->HasProperty("source", "Other"));
    EXPECT_FALSE(factory->HasProperty("source", nullptr));

    zVariable value;
    value.SetCString(FourCC("valu"), "before");
    EXPECT_FALSE(factory->GetProperty("source", "Other", value));
    EXPECT_STREQ(value.AsCString(FourCC("valu"), ""), "before");
    EXPECT_TRUE(factory->GetProperty("source", "NumChannels", value));
    EXPECT_STREQ(value.AsCString(FourCC("valu"), ""), "2");
    EXPECT_EQ(value.AsInt32(FourCC("valu"), -1), -1);
}

TEST_F(FactoryAnswers, AreThoseOfAPlainSourcePlugin) {
    nxRendererFactory2& host = *factory;
    EXPECT_TRUE(host.OffersSources());
    EXPECT_EQ(host.PresetCount(), 0);
    EXPECT_EQ(host.CurrentPreset(), 0xFFFFFFFFU);
    EXPECT_EQ(host.InputCount(), 0);
    EXPECT_EQ(host.CurrentInput(), 0xFFFFFFFFU);
    EXPECT_FALSE(host.NeedsLicense());
    EXPECT_EQ(host.LatencyFrames(), 0);
    EXPECT_FALSE(host.IsOffline());
    host.SourceNotification("source");
    EXPECT_EQ(nxWebRtcSession::Alive(), 0);

    nxWebRtcRendererXI& sessions = *factory;
    sessions.SessionNotification();
    sessions.ConnectionNotification();
    sessions.ListNotification();
    EXPECT_THAT(sessions.PeerList(), IsEmpty());
    EXPECT_FALSE(sessions.HasPeerList());
    EXPECT_THAT(sessions.ChatList(), IsEmpty());
    EXPECT_FALSE(sessions.HasChatList());
    EXPECT_TRUE(sessions.IsDirectMode());
    static_cast<nxXISourceProperties*>(factory)->PropertyChanged();
}

TEST_F(FactoryAnswers, DropTheReferenceOfAReleaseNotification) {
    auto object = std::make_shared<zObject>();
    const std::weak_ptr<zObject> watched = object;
    factory->ReleaseNotification(std::move(object));
    EXPECT_TRUE(watched.expired());
}

TEST_F(FactoryAnswers, ReleaseWhatIsHandedOver) {
    const auto token = std::make_shared<int>(0);
    const auto owner = std::make_shared<zObject>();
    factory->ReleaseListener(owner, [token] {});
    EXPECT_EQ(token.use_count(), 1);
    EXPECT_EQ(owner.use_count(), 1);
}

TEST_F(FactoryAnswers, AboutAnUnknownSourceAreEmpty) {
    zString text;
    text.Assign("before");
    factory->GetSessionUrl("unknown", text);
    EXPECT_STREQ(text.Text(), "");
    text.Assign("before");
    factory->GetSessionGuid(nullptr, text);
    EXPECT_STREQ(text.Text(), "");
}

TEST_F(FactoryAnswers, NameUrlAndGuidOfASession) {
    Activate("source");
    EXPECT_EQ(UrlOf("source"), kUrl);
    zString guid;
    factory->GetSessionGuid("source", guid);
    EXPECT_STREQ(guid.Text(), "source");
}

}  // namespace
