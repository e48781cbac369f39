// A panel's layout: from the text of the file to records, views and a panel that runs on them.
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

#include "fuzzers/FactoryBench.h"
#include "fuzzers/Records.h"
#include "host/renderer/nxHostNotification.h"
#include "host/ui/eDynamicGlass.h"
#include "host/ui/eGlassView.h"
#include "host/ui/ePhoenix.h"
#include "host/ui/ePurse.h"
#include "host/ui/eView.h"
#include "host_runtime/ui/Localisation.h"
#include "host_runtime/ui/XmlRecord.h"

namespace {

using fuzzing::Require;
using host_runtime::ReadXmlRecord;

class TextResources final : public eResources {
public:
    explicit TextResources(std::string_view layoutText) : text(layoutText) {}
    zStatus ReadPluginXMLFile(zRecord& record, const char*, const char*, const char*) override {
        return ReadXmlRecord(text, record);
    }

private:
    const std::string_view text;
};

class TextPurse final : public ePurse {
public:
    explicit TextPurse(std::string_view layoutText) : resources(layoutText) {}
    eResources* Resources() override { return &resources; }

private:
    TextResources resources;
};

class Notification final : public nxHostNotification {
public:
    void Notify(std::uint32_t) override { ++count; }
    int count = 0;
};

void AppendEscaped(std::string& xml, const std::string& text) {
    for (const char character : text) {
        const bool plain =
            character > ' ' && std::string_view("<>&\"'").find(character) == std::string_view::npos;
        if (plain || static_cast<signed char>(character) < 0) {
            xml += character;
        } else {
            xml += "&#" + std::to_string(static_cast<int>(character)) + ";";
        }
    }
}

void Append(std::string& xml, const zRecord& record) {
    xml += "<" + record.ElementName();
    record.ForEachField([&xml](const std::string& name, const zVariable::Value& value) {
        Require(std::holds_alternative<std::string>(value), "attributes are texts");
        xml += " " + name + "=\"";
        AppendEscaped(xml, std::get<std::string>(value));
        xml += "\"";
    });
    xml += ">";
    for (std::size_t index = 0; index < record.ChildCount(); ++index)
        Append(xml, *record.Child(index));
    xml += "</" + record.ElementName() + ">";
}

void RequireEqual(const zRecord& left, const zRecord& right) {
    Require(left.ElementName() == right.ElementName(), "a written layout reads the same: elements");
    Require(fuzzing::FieldsOf(left) == fuzzing::FieldsOf(right),
            "a written layout reads the same: attributes");
    Require(left.ChildCount() == right.ChildCount(), "a written layout reads the same: children");
    for (std::size_t index = 0; index < left.ChildCount(); ++index)
        RequireEqual(*left.Child(index), *right.Child(index));
}

std::size_t CountOf(const zRecord& record, int depth) {
    Require(depth <= host_runtime::kDeepestXml, "no element is nested too deeply");
    std::size_t count = 1;
    for (std::size_t index = 0; index < record.ChildCount(); ++index)
        count += CountOf(*record.Child(index), depth + 1);
    return count;
}

std::size_t CountOf(eView& root, eView& view) {
    const char* const variable = view.Fields().AsCString("var", "");
    eView* const found = root.FindVariable(variable);
    Require((found != nullptr) == (*variable != '\0'), "a view with a variable is found by it");
    for (const char* field : {"titl", "text"})
        host_runtime::TextToShow(view, FourCC("titl")), view.SetField(field, variable);
    std::size_t count = 1;
    for (const auto& child : view.Children())
        count += CountOf(root, *child);
    return count;
}

void RunPanel(std::string_view text) {
    fuzzing::FactoryBench bench;
    TextPurse purse(text);
    Notification notification;
    zRecord settings;
    settings.SetCString("kestrel_ip_address", "192.0.2.1");
    eView parent{zRecord()};
    eDynamicGlass* made = nullptr;
    bench.factory->CreateSourceGUI(&purse, &parent, settings, &notification, "source", &made);
    Require(made != nullptr, "there is a panel whatever the layout");
    const std::unique_ptr<eDynamicGlass> panel(made);
    panel->SetUp();
    bench.time.AdvanceBy(4'000'000);
    eView* const field = parent.FindVariable("ip_addr");
    if (field != nullptr) field->SetField(FourCC("text"), " 192.0.2.2 ");
    bench.EndFactory();  // so that no name is looked up
    Require(panel->HandleCommand("cmd_connect") && notification.count == 1, "the connect button is heard");
    const std::string taken = settings.AsCString("kestrel_ip_address", "none");
    Require(taken == (field != nullptr ? "192.0.2.2" : ""), "the panel takes the address from its field");
    panel->DynGUI_handle_Slider("ip_addr", 0.5);
    bench.time.AdvanceBy(4'000'000);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    zRecord record;
    record.AddChild().SetElementName("before");
    if (ReadXmlRecord(text, record) != kStatusOk) {
        Require(record.ChildCount() == 1 && record.Child(0)->ElementName() == "before",
                "what is no layout leaves the record alone");
    } else {
        Require(record.ChildCount() == 1, "a layout has one root");
        const zRecord& layout = *record.Child(0);
        std::string written = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
        Append(written, layout);
        zRecord again;
        Require(ReadXmlRecord(written, again) == kStatusOk, "a written layout can be read");
        RequireEqual(layout, *again.Child(0));

        eView* views = nullptr;
        Require(ePhoenix::NewGUIFromXMLRecord(nullptr, layout, &views) == kStatusOk,
                "a layout becomes views");
        const std::unique_ptr<eView> owner(views);
        Require(CountOf(*views, *views) == CountOf(layout, 1), "every element becomes one view");
    }
    RunPanel(text);
    fuzzing::RequireFactoryGone();
    return 0;
}
