// Panels made from layouts, without a plug-in.
#pragma once

#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "apps/halyard/PanelCommands.h"
#include "host/ui/eDynamicGlass.h"
#include "host/ui/ePhoenix.h"
#include "host/ui/eView.h"
#include "host_runtime/ui/XmlRecord.h"

namespace halyard {

// As the shipped panel looks.
inline constexpr const char* kPhonePanel = R"(<view>
    <label titl="p_kestrel_address"/><edit var="ip_addr" text="" command="cmd_connect"/>
    <button titl="p_kestrel_connect" command="cmd_connect"/>
    <label titl="p_kestrel_status"/><label var="state" titl="p_disconnected"/>
    <label titl="p_kestrel_datarate"/><label var="rate" titl=""/></view>)";

struct BenchPanel {
    std::string address;
    std::unique_ptr<eView> views;
    std::unique_ptr<eDynamicGlass> glass;  // goes first
    std::vector<bool> tallies;             // that its phone was told

    void Set(const char* variable, const char* field, const char* text) const {
        views->FindVariable(variable)->SetField(field, text);
    }
    std::string Get(const char* variable, const char* field) const {
        return views->FindVariable(variable)->Fields().AsCString(field, "?");
    }
};

class PanelBench {
public:
    BenchPanel& Add(const std::string& address, const std::string& layout = kPhonePanel) {
        zRecord record;
        EXPECT_EQ(host_runtime::ReadXmlRecord(layout, record), kStatusOk);
        eView* views = nullptr;
        ePhoenix::NewGUIFromXMLRecord(nullptr, *record.Child(0), &views);
        BenchPanel& panel = all.emplace_back();
        panel.address = address;
        panel.views.reset(views);
        panel.glass = std::make_unique<eDynamicGlass>(nullptr, views);
        return panel;
    }
    // A source of a plug-in that offers no panels.
    void AddWithoutPanel(const std::string& address) { all.emplace_back().address = address; }

    BenchPanel& At(std::size_t index) { return all[index]; }

    ShownPanels Shown() {
        return [this] {
            std::vector<ShownPanel> shown;
            for (BenchPanel& panel : all) {
                shown.push_back({panel.address, panel.glass.get(), panel.views.get(),
                                 [&panel](bool isOnAir) { panel.tallies.push_back(isOnAir); }});
            }
            return shown;
        };
    }

private:
    std::deque<BenchPanel> all;
};

}  // namespace halyard
