#include "plugin/source_description.h"

#include "host/ui/ePatoisManager.h"

std::string SourceTypeName() {
    return ePatoisManager::Default()->Lookup("iOS Cam - Petrel");
}

nxSourceDescription DescribeSource(std::string identifier, std::string displayName) {
    nxSourceDescription description;
    description.identifier = std::move(identifier);
    description.displayName = std::move(displayName);
    description.typeName = SourceTypeName();
    description.typeIdentifier = kSourceTypeIdentifier;
    description.kind = kSourceKind;
    description.category = kSourceCategory;
    return description;
}
