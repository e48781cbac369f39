#include "host_runtime/ui/Purse.h"

#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "host_runtime/ui/XmlRecord.h"

namespace host_runtime {
namespace {

bool IsPlainName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of("/\\:") == std::string_view::npos;
}

// Nothing when a part of the name could lead elsewhere.
std::optional<std::filesystem::path> FolderUnder(const std::filesystem::path& root, std::string_view folder) {
    std::filesystem::path path = root;
    while (true) {
        const std::size_t separator = folder.find('\\');
        const std::string_view part = folder.substr(0, separator);
        if (!IsPlainName(part)) return std::nullopt;
        path /= part;
        if (separator == std::string_view::npos) return path;
        folder.remove_prefix(separator + 1);
    }
}

std::optional<std::string> ReadFile(const std::filesystem::path& path, std::size_t largest) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) return std::nullopt;
    std::ifstream file(path, std::ios::binary);
    if (!file) return std::nullopt;
    std::string content(largest + 1, '\0');
    file.read(content.data(), static_cast<std::streamsize>(content.size()));
    const auto length = static_cast<std::size_t>(file.gcount());
    if (file.bad() || length > largest) return std::nullopt;
    content.resize(length);
    return content;
}

}  // namespace

PluginResources::PluginResources(std::filesystem::path rootFolder) : root(std::move(rootFolder)) {}

zStatus PluginResources::ReadPluginXMLFile(zRecord& record, const char* fileName, const char* resourceFolder,
                                           const char*) {
    if (fileName == nullptr || resourceFolder == nullptr || !IsPlainName(fileName)) return kStatusFailed;
    const std::optional<std::filesystem::path> folder = FolderUnder(root, resourceFolder);
    if (!folder) return kStatusFailed;
    const std::optional<std::string> content = ReadFile(*folder / fileName, kLargestFile);
    return content ? ReadXmlRecord(*content, record) : kStatusFailed;
}

Purse::Purse(std::filesystem::path resourceRoot) : resources(std::move(resourceRoot)) {}

}  // namespace host_runtime
