// What the factory makes of the host's answers: the panel's layout, translations, look-ups.
#include "host/core/zRecord.h"
#include "host/renderer/nxSourceTypeInfo.h"
#include "host/ui/eView.h"
#include "plugin/address_in_use.h"
#include "tests/unit/plugin/FactoryTest.h"
#include "tests/unit/plugin/PlayedHost.h"
#include "tests/unit/plugin/RecordedResources.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FactoryHost : public tests::FactoryTest {
protected:
    FactoryHost() { host = {}; }
    ~FactoryHost() override { host = {}; }

    tests::PlayedHost& host = tests::ThePlayedHost();
};

class FactoryPanelLayout : public FactoryHost {
protected:
    // The elements of the views that the panel got.
    std::vector<std::string> Build() {
        EXPECT_EQ(place.Build(*factory), kStatusOk);
        EXPECT_TRUE(place.HasPanel());
        std::vector<std::string> elements;
        for (const auto& view : place.parent.Children())
            elements.push_back(view->ElementName());
        return elements;
    }
    // The panel is made all the same, and the parent is told of the missing view.
    void ExpectNoViews() {
        EXPECT_THAT(Build(), IsEmpty());
        ASSERT_EQ(host.addedViews.size(), 1U);
        EXPECT_EQ(host.addedViews[0].child, nullptr);
    }

    tests::PanelPlace place;
};

TEST_F(FactoryPanelLayout, IsReadByTheNamesOfThePlugin) {
    EXPECT_THAT(Build(), ElementsAre("view"));
    EXPECT_THAT(place.resources.asked,
                ElementsAre("kestrel_gui.xml", "Sources\\Kestrel", "net.brindle.halyard.Kestrel-plugin"));
}

TEST_F(FactoryPanelLayout, IsItsFirstElement) {
    place.resources.elements = {"first", "second"};
    EXPECT_THAT(Build(), ElementsAre("first"));
}

TEST_F(FactoryPanelLayout, IsAppendedToTheParent) {
    Build();
    ASSERT_FALSE(host.addedViews.empty());
    EXPECT_EQ(host.addedViews.back().child, place.parent.Children().at(0).get());
    EXPECT_EQ(host.addedViews.back().position, 2147483647);
}

TEST_F(FactoryPanelLayout, WithoutAFirstElementLeavesAPanelWithoutViews) {
    place.resources.elements.clear();
    ExpectNoViews();
}

TEST_F(FactoryPanelLayout, IsNotTakenFromAReadingThatFailed) {
    place.resources.status = kStatusFailed;
    ExpectNoViews();
}

TEST_F(FactoryPanelLayout, IsNotTakenFromABuildingThatFailed) {
    const std::unique_ptr<eView> halfMade = std::make_unique<eView>(zRecord());
    host.makeViews = [&halfMade](const zRecord&, eView** views) {
        *views = halfMade.get();
        return kStatusFailed;
    };
    ExpectNoViews();
}

TEST_F(FactoryHost, TranslatesTheNameOfTheKindWhereverItIsShown) {
    host.translations["iOS Cam - Petrel"] = "Telefonkamera";
    nxSourceTypeInfo info;
    factory->GetSourceTypeInfo(info);
    EXPECT_EQ(info.displayName, "Telefonkamera");

    nxSourceDescription description;
    zRecord settings;
    factory->NewSource(description, settings);
    EXPECT_EQ(description.displayName, "Telefonkamera");
    EXPECT_EQ(description.typeName, "Telefonkamera");
    EXPECT_STREQ(settings.AsCString("name", ""), "Telefonkamera");

    zRecord phone = Discovery("phone");
    factory->PeerDiscovered(phone);
    EXPECT_EQ(registry.announced.at(0).description.typeName, "Telefonkamera");
    EXPECT_EQ(registry.announced.at(0).description.displayName, "Phone");
}

TEST_F(FactoryHost, CallsANamelessPhoneNoneInEveryLanguage) {
    host.translations["None"] = "Keine";
    zRecord phone = Discovery("phone", "192.168.1.20", "9001", "");
    factory->PeerDiscovered(phone);
    EXPECT_EQ(registry.announced.at(0).description.displayName, "None");
}

TEST_F(FactoryHost, AnswersALookUpWithAnAddressOfTwoCharactersOrMore) {
    host.lookUp = {true, "10"};
    EXPECT_EQ(ResolveHost("phone.local"), "10");
    host.lookUp = {true, "1"};
    EXPECT_EQ(ResolveHost("phone.local"), "");
    host.lookUp = {false, "192.168.1.20"};
    EXPECT_EQ(ResolveHost("phone.local"), "");
}

TEST_F(FactoryHost, AnswersThatAreTheSameForEveryNameMakeAnAddressTaken) {
    Activate("source", "phone.local");
    host.lookUp = {true, "192.168.1.20"};
    EXPECT_TRUE(factory->IsAddressInUse("other.local"));
    host.lookUp = {true, "1"};
    EXPECT_FALSE(factory->IsAddressInUse("other.local"));
    host.lookUp = {false, "192.168.1.20"};
    EXPECT_FALSE(factory->IsAddressInUse("other.local"));
}

TEST_F(FactoryHost, AnswersForAHostOfTwoCharactersOrMoreMakeAnAddressTaken) {
    Activate("source", "phone.local");
    host.lookUp = {false, ""};
    host.hostOfUrl = {true, "ph"};
    EXPECT_TRUE(factory->IsAddressInUse("other.local"));
    host.hostOfUrl = {true, "p"};
    EXPECT_FALSE(factory->IsAddressInUse("other.local"));
    host.hostOfUrl = {false, "phone.local"};
    EXPECT_FALSE(factory->IsAddressInUse("other.local"));
}

}  // namespace
