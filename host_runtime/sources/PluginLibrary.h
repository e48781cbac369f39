// A sources plug-in on disk. Once loaded it stays in the process: its threads and objects may outlive
// every owner that the host knows of.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

class nxRendererFactory2;
class nxSourceRegistry;

namespace host_runtime {

class PluginLibrary {
public:
    // Nothing, with one sentence in `error`, when the file cannot be loaded or offers no entry point.
    static std::optional<PluginLibrary> Load(const std::filesystem::path& file, std::string& error);

    // [main-thread] Calls the entry point. The caller owns one reference to the factory; null, with a
    // sentence in `error`, when the plug-in made none or threw.
    nxRendererFactory2* MakeFactory(nxSourceRegistry* registry, std::string& error) const;

    const std::filesystem::path& File() const { return file; }

private:
    using EntryPoint = nxRendererFactory2* (*)(nxSourceRegistry*);

    PluginLibrary(std::filesystem::path loadedFile, EntryPoint entry)
        : file(std::move(loadedFile)), entryPoint(entry) {}

    std::filesystem::path file;
    EntryPoint entryPoint;
};

}  // namespace host_runtime
