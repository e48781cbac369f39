#include "apps/halyard/Places.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <system_error>

namespace halyard {
namespace {

constexpr const char* kPluginFile = "kestrel.so";
constexpr const char* kPhonesProgram = "petrel";

std::filesystem::path FromEnvironment(const char* name) {
    const char* value = std::getenv(name);
    const std::filesystem::path path = value != nullptr ? value : "";
    return path.is_absolute() ? path : std::filesystem::path();
}

std::filesystem::path HomeDirectory() {
    if (const std::filesystem::path home = FromEnvironment("HOME"); !home.empty()) return home;
    const passwd* user = getpwuid(getuid());
    return user != nullptr && user->pw_dir != nullptr ? user->pw_dir : "";
}

// Whatever name it was started by.
std::filesystem::path ProgramDirectory() {
    std::error_code ignored;
    return std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
}

}  // namespace

std::filesystem::path DefaultPluginBeside(const std::filesystem::path& programDirectory) {
    const std::filesystem::path first = programDirectory.parent_path() / "lib" / kPluginFile;
    std::error_code ignored;
    for (const std::filesystem::path& place :
         {first, programDirectory.parent_path() / "lib/halyard" / kPluginFile,
          programDirectory / kPluginFile}) {
        if (std::filesystem::exists(place, ignored)) return place;
    }
    return first;
}

std::filesystem::path DefaultPlugin() {
    return DefaultPluginBeside(ProgramDirectory());
}

std::filesystem::path DefaultPhonesProgram() {
    return ProgramDirectory() / kPhonesProgram;
}

std::filesystem::path DefaultStateDirectory() {
    if (const std::filesystem::path state = FromEnvironment("XDG_STATE_HOME"); !state.empty())
        return state / "halyard";
    const std::filesystem::path home = HomeDirectory();
    return home.empty() ? home : home / ".local/state/halyard";
}

}  // namespace halyard
