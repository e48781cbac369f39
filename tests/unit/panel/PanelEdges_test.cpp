// What the panel asks of the host's resources, and the smallest rate.
#include "host/ui/ePurse.h"
#include "host/ui/eResources.h"
#include "plugin/CreatePanel.h"
#include "tests/unit/panel/PanelFixture.h"

namespace {

using testing::ElementsAre;

class AskedResources final : public eResources {
public:
    zStatus ReadPluginXMLFile(zRecord&, const char* fileName, const char* resourceFolder,
                              const char* bundleIdentifier) override {
        asked = {fileName, resourceFolder, bundleIdentifier};
        return kStatusFailed;
    }
    std::vector<std::string> asked;
};

class AskedPurse final : public ePurse {
public:
    eResources* Resources() override { return &resources; }
    AskedResources resources;
};

TEST(PanelLayout, IsAskedForByFileFolderAndBundle) {
    AskedPurse purse;
    EXPECT_EQ(LoadPanelLayout(&purse), nullptr);
    EXPECT_THAT(purse.resources.asked,
                ElementsAre("kestrel_gui.xml", "Sources\\Kestrel", "net.brindle.halyard.Kestrel-plugin"));
}

class PanelEdges : public tests::PanelFixture {};

TEST_F(PanelEdges, RateOfNothingIsShown) {
    Build();
    Connect();
    AnswerAfter(100, 1'000'000, 500);
    AnswerAfter(500, 2'000'000, 500);
    EXPECT_EQ(DataRate(), "0.0 Mbits");
}

}  // namespace
