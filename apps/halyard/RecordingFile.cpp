#include "apps/halyard/RecordingFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace halyard {

std::string SafeFileName(std::string_view text) {
    constexpr std::size_t kLongest = 100;
    constexpr std::string_view kKept = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-_";
    std::string name(text.substr(0, kLongest));
    for (char& character : name) {
        if (kKept.find(character) == std::string_view::npos) character = '_';
    }
    if (name.empty()) return "source";
    if (name.front() == '.' || name.front() == '-') name.front() = '_';
    return name;
}

std::filesystem::path ReserveRecordingFile(const std::filesystem::path& directory, std::string_view name,
                                           std::string& error) {
    constexpr int kMostOfAName = 100'000;
    const std::string base = SafeFileName(name);
    for (int number = 1; number <= kMostOfAName; ++number) {
        std::string fileName = base;
        if (number > 1) fileName.append("-").append(std::to_string(number));
        const std::filesystem::path file = directory / fileName.append(".mkv");
        const int descriptor = ::open(file.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
        if (descriptor >= 0) {
            ::close(descriptor);
            return file;
        }
        if (errno != EEXIST) {
            error =
                "Cannot record into " + file.string() + ": " + std::generic_category().message(errno) + ".";
            return {};
        }
    }
    error = "Cannot record into " + directory.string() + ": there are too many recordings of that name.";
    return {};
}

}  // namespace halyard
