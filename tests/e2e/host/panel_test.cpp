// The operator types a phone's address into the settings panel of a new source.
#include <gtest/gtest.h>

#include "host/ui/eDynamicGlass.h"
#include "host/ui/eView.h"
#include "tests/e2e/host/HostHarness.h"
#include "tests/e2e/host/SimulatedPhone.h"

namespace e2e {
namespace {

using std::chrono::seconds;

class Panel : public testing::Test {
protected:
    HostHarness::Pulled AddEmpty() {
        HostHarness::Pulled pulled{harness.Host().Sources().AddWithoutAddress("Stage"),
                                   std::make_shared<PulledPattern>()};
        EXPECT_TRUE(pulled.source);
        harness.Host().Puller().Add(pulled.source, pulled.pattern);
        return pulled;
    }

    void Type(host_runtime::SourcePanel& panel, const std::string& address) {
        eView* field = panel.Views().FindVariable("ip_addr");
        ASSERT_NE(field, nullptr) << "the panel's layout lies beside the plug-in";
        field->SetField("text", address.c_str());
        panel.Glass().HandleCommand("cmd_connect");
    }

    static std::string Shown(host_runtime::SourcePanel& panel, const char* variable) {
        eView* view = panel.Views().FindVariable(variable);
        return view != nullptr ? view->Fields().AsCString("titl", "") : "no such view";
    }

    HostHarness harness;
};

TEST_F(Panel, ATypedAddressBringsThePicture) {
    SimulatedPhone phone("127.0.16.2", {"--size", "320x180"});
    const auto pulled = AddEmpty();
    host_runtime::SourcePanel* panel = harness.Host().OpenPanel(pulled.source->Identifier());
    ASSERT_NE(panel, nullptr);
    EXPECT_EQ(harness.Host().OpenPanel(pulled.source->Identifier()), panel) << "one panel per source";
    const std::string before = Shown(*panel, "kestrel_connectionstatus_text");
    harness.RunFor(seconds(1));
    EXPECT_EQ(pulled.pattern->Now().newPictures, 0);

    Type(*panel, " 127.0.16.2 ");
    EXPECT_TRUE(harness.RunUntil([&] { return pulled.pattern->Now().stampedPictures > 0; }, seconds(30)));
    EXPECT_EQ(pulled.source->Address(), "127.0.16.2");
    EXPECT_TRUE(harness.RunUntil(
        [&] { return Shown(*panel, "kestrel_datarate_text").find("Mbits") != std::string::npos; },
        seconds(20)));
    EXPECT_NE(Shown(*panel, "kestrel_connectionstatus_text"), before);

    phone.Kill();
    EXPECT_TRUE(harness.RunUntil([&] { return Shown(*panel, "kestrel_connectionstatus_text") == before; },
                                 seconds(20)))
        << "a lost phone shows";
    harness.Host().ClosePanel(pulled.source->Identifier());
    EXPECT_EQ(host_runtime::SourcePanel::Alive(), 0);
}

TEST_F(Panel, AnAddressInUseIsRefusedWithAnAlert) {
    harness.Add("127.0.16.3");
    const auto pulled = AddEmpty();
    host_runtime::SourcePanel* panel = harness.Host().OpenPanel(pulled.source->Identifier());
    ASSERT_NE(panel, nullptr);
    Type(*panel, "ws://127.0.16.3/");
    EXPECT_EQ(panel->Glass().TakeAlerts().size(), 1U);
    harness.RunFor(std::chrono::milliseconds(50));
    EXPECT_EQ(pulled.source->Address(), "");
}

TEST_F(Panel, EndsWithItsHostWhileItIsOpen) {
    const auto pulled = AddEmpty();
    EXPECT_NE(harness.Host().OpenPanel(pulled.source->Identifier()), nullptr);
    EXPECT_EQ(harness.Host().OpenPanel("UNKNOWN"), nullptr);
}

}  // namespace
}  // namespace e2e
