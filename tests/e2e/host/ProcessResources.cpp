#include "tests/e2e/host/ProcessResources.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace e2e {

ProcessResources OwnResources() {
    ProcessResources resources;
    std::error_code gone;  // threads and files may end while they are listed
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task", gone)) {
        ++resources.threads;
        std::string name;
        std::getline(std::ifstream(task.path() / "comm") >> std::ws, name);
        ++resources.threadNames[name];
    }
    for (const auto& file : std::filesystem::directory_iterator("/proc/self/fd", gone)) {
        ++resources.descriptors;
        const std::string target = std::filesystem::read_symlink(file.path(), gone).string();
        if (target.rfind("socket:", 0) == 0) ++resources.sockets;
    }
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmRSS:", 0) == 0) resources.residentKib = std::stoll(line.substr(6));
    }
    return resources;
}

std::string Text(const ProcessResources& resources) {
    std::ostringstream text;
    text << resources.threads << " threads, " << resources.descriptors << " descriptors, "
         << resources.sockets << " sockets, " << resources.residentKib << " KiB:";
    for (const auto& [name, count] : resources.threadNames)
        text << " " << name << "=" << count;
    return text.str();
}

}  // namespace e2e
