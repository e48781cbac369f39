#include "host_runtime/sources/PluginLibrary.h"

#include <dlfcn.h>

#include <exception>

namespace host_runtime {
namespace {

constexpr const char* kEntryPointName = "initialize_sources_plugin";

std::string LoaderMessage() {
    const char* message = dlerror();
    return message != nullptr ? message : "unknown reason";
}

}  // namespace

std::optional<PluginLibrary> PluginLibrary::Load(const std::filesystem::path& file, std::string& error) {
    std::error_code code;
    const std::filesystem::path absolute = std::filesystem::absolute(file, code);
    if (code || !std::filesystem::is_regular_file(absolute, code)) {
        error = "There is no plug-in at " + file.string() + ".";
        return std::nullopt;
    }
    // An absolute path, so that the loader does not search elsewhere.
    void* handle = dlopen(absolute.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        error = "The plug-in cannot be loaded: " + LoaderMessage() + ".";
        return std::nullopt;
    }
    void* symbol = dlsym(handle, kEntryPointName);
    if (symbol == nullptr) {
        error = absolute.string() + " is not a sources plug-in: it has no " + kEntryPointName + ".";
        return std::nullopt;
    }
    return PluginLibrary(absolute, reinterpret_cast<EntryPoint>(symbol));
}

nxRendererFactory2* PluginLibrary::MakeFactory(nxSourceRegistry* registry, std::string& error) const {
    try {
        if (nxRendererFactory2* factory = entryPoint(registry)) return factory;
        error = "The plug-in " + file.string() + " did not start.";
    } catch (const std::exception& failure) {
        error = "The plug-in " + file.string() + " did not start: " + failure.what() + ".";
    } catch (...) {
        error = "The plug-in " + file.string() + " did not start.";
    }
    return nullptr;
}

}  // namespace host_runtime
