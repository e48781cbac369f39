// The purse of this host: the resource files of plug-ins under one folder that the embedding program names.
#pragma once

#include <filesystem>

#include "host/ui/ePurse.h"
#include "host/ui/eResources.h"

namespace host_runtime {

class PluginResources final : public eResources {
public:
    static constexpr std::size_t kLargestFile = std::size_t{1} << 20;

    explicit PluginResources(std::filesystem::path rootFolder);

    // Folder "Sources\Kestrel" is Sources/Kestrel under the root. Names that lead out of it, or are
    // no plain names, are refused. `record` stays as it was on failure.
    zStatus ReadPluginXMLFile(zRecord& record, const char* fileName, const char* resourceFolder,
                              const char* bundleIdentifier) override;

private:
    const std::filesystem::path root;
};

class Purse final : public ePurse {
public:
    explicit Purse(std::filesystem::path resourceRoot);
    eResources* Resources() override { return &resources; }

private:
    PluginResources resources;
};

}  // namespace host_runtime
