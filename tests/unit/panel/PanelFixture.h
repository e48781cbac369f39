// The settings panel as the factory makes it, on the host's real view tree, driven as a front end does: the
// rows of its form are typed into and pressed.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/renderer/nxHostNotification.h"
#include "host/ui/eDynamicGlass.h"
#include "host/ui/eView.h"
#include "host_runtime/ui/Form.h"
#include "host_runtime/ui/Purse.h"
#include "tests/unit/plugin/FactoryTest.h"

namespace tests {

class RecordingNotification final : public nxHostNotification {
public:
    void Notify(std::uint32_t value) override { values.push_back(value); }
    std::vector<std::uint32_t> values;
};

// The panel is of the source "source", whose settings hold kAddress. The factory does not know the source
// yet.
class PanelFixture : public FactoryTest {
protected:
    static constexpr std::int64_t kMillisecondUs = 1000;

    PanelFixture();
    ~PanelFixture() override;

    void Build(const char* resourceRoot = KESTREL_PLUGIN_FOLDER);

    // What a view holds; "no view" when the layout has none.
    std::string Shown(const char* variable, zFourCC field);
    std::string Address() { return Shown("ip_addr", FourCC("text")); }
    std::string Status() { return Shown("kestrel_connectionstatus_text", FourCC("titl")); }
    std::string DataRate() { return Shown("kestrel_datarate_text", FourCC("titl")); }
    void Overwrite(const char* variable, const char* title);
    std::string SettingsAddress() { return settings.AsCString("kestrel_ip_address", "nothing"); }

    host_runtime::FormRow Row(host_runtime::FormPart part);
    void Type(const char* text);
    void PressConnect();
    void PressEnter();

    // A source with a connection that answers.
    std::shared_ptr<fakes::FakeWebSocket> Connect();
    // The poll is due after `delayMs`, not before; it is not answered yet.
    std::shared_ptr<fakes::FakePeerConnection> ExpectPollAfter(std::int64_t delayMs);
    // The same, answered; the answer reaches the panel.
    void AnswerAfter(std::int64_t delayMs, std::int64_t timestampUs, std::int64_t bytes);
    static void Deliver(fakes::FakePeerConnection& peer, std::int64_t timestampUs, std::int64_t bytes);

    eView parent;
    zRecord settings;
    RecordingNotification notification;
    std::unique_ptr<host_runtime::Purse> purse;
    std::unique_ptr<eDynamicGlass> panel;  // goes first
};

}  // namespace tests
