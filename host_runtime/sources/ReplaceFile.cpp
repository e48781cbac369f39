#include "host_runtime/sources/ReplaceFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "support/scope_guard.h"

namespace host_runtime {
namespace {

std::string Reason() {
    return std::generic_category().message(errno);
}

std::string Failure(const char* what, const std::filesystem::path& path) {
    return std::string(what) + " " + path.string() + ": " + Reason() + ".";
}

bool WriteAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

// The rename is on disk only once its directory is.
void SyncDirectory(const std::filesystem::path& directory) {
    const int descriptor = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return;
    ::fsync(descriptor);
    ::close(descriptor);
}

std::filesystem::path DirectoryOf(const std::filesystem::path& file) {
    return file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
}

// A fresh file beside `file`, open for writing; its name is stored in `path`. -1 when there can be none.
int OpenTemporary(const std::filesystem::path& file, std::filesystem::path& path) {
    constexpr int kMostTries = 1000;  // names that a crash left behind
    const std::string beside = (DirectoryOf(file) / ".").string();
    const std::string base = beside + file.filename().string() + "." + std::to_string(::getpid());
    for (int number = 0; number < kMostTries; ++number) {
        path = base + "-" + std::to_string(number);
        const int descriptor = ::open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
        if (descriptor >= 0 || errno != EEXIST) return descriptor;
    }
    return -1;
}

}  // namespace

bool ReplaceFile(const std::filesystem::path& file, std::string_view text, std::string& error) {
    std::filesystem::path temporary;
    const int descriptor = OpenTemporary(file, temporary);
    if (descriptor < 0) {
        error = Failure("Cannot write beside", file);
        return false;
    }
    const bool written = WriteAll(descriptor, text) && ::fsync(descriptor) == 0;
    if (!written) error = Failure("Cannot write", temporary);
    ::close(descriptor);
    if (written && ::rename(temporary.c_str(), file.c_str()) == 0) {
        SyncDirectory(DirectoryOf(file));
        return true;
    }
    if (written) error = Failure("Cannot replace", file);
    ::unlink(temporary.c_str());
    return false;
}

bool CanCreateFileIn(const std::filesystem::path& directory, std::string& error) {
    std::filesystem::path probe;
    const int descriptor = OpenTemporary(directory / "probe", probe);
    if (descriptor < 0) {
        error = Failure("Cannot write in", directory);
        return false;
    }
    ::close(descriptor);
    ::unlink(probe.c_str());
    return true;
}

}  // namespace host_runtime
