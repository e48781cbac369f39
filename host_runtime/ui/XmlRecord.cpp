#include "host_runtime/ui/XmlRecord.h"

#include <pugixml.hpp>
#include <utility>

namespace host_runtime {
namespace {

bool Fill(zRecord& record, const pugi::xml_node& element, int depthLeft) {
    if (depthLeft == 0) return false;
    record.SetElementName(element.name());
    for (const pugi::xml_attribute& attribute : element.attributes())
        record.SetCString(attribute.name(), attribute.value());
    for (const pugi::xml_node& child : element.children()) {
        if (child.type() != pugi::node_element) continue;
        if (!Fill(record.AddChild(), child, depthLeft - 1)) return false;
    }
    return true;
}

}  // namespace

zStatus ReadXmlRecord(std::string_view xml, zRecord& record) {
    pugi::xml_document document;
    if (!document.load_buffer(xml.data(), xml.size())) return kStatusFailed;
    zRecord root;
    if (!document.document_element() || !Fill(root, document.document_element(), kDeepestXml)) {
        return kStatusFailed;
    }
    record.ClearChildren();
    record.AddChild() = std::move(root);
    return kStatusOk;
}

}  // namespace host_runtime
