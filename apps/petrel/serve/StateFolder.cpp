#include "apps/petrel/serve/StateFolder.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "support/scope_guard.h"

namespace petrel {
namespace {

constexpr mode_t kOwnerOnlyFolder = 0700;
constexpr mode_t kOwnerOnly = 0600;
constexpr mode_t kEverybody = 0644;
constexpr std::size_t kLargestFile = std::size_t{4} << 20;

std::string WhatFailed(const char* what, const std::filesystem::path& path) {
    return fmt::format("{} cannot be {}: {}.", path.string(), what, std::strerror(errno));
}

bool WriteAll(int file, const std::string& content) {
    std::size_t written = 0;
    while (written < content.size()) {
        const ssize_t count = ::write(file, content.data() + written, content.size() - written);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        written += static_cast<std::size_t>(count);
    }
    return fsync(file) == 0;
}

// The new name of a file lasts only when its folder has reached the disk, too.
void SyncFolder(const std::filesystem::path& folder) {
    const int opened = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (opened < 0) return;
    fsync(opened);
    close(opened);
}

}  // namespace

std::filesystem::path DefaultStateFolder() {
    const char* const state = std::getenv("XDG_STATE_HOME");
    if (state != nullptr && state[0] == '/') return std::filesystem::path(state) / "petrel" / "serve";
    const char* const home = std::getenv("HOME");
    const std::filesystem::path base = home != nullptr && home[0] != '\0' ? home : "/";
    return base / ".local" / "state" / "petrel" / "serve";
}

std::optional<StateFolder> StateFolder::Open(const std::filesystem::path& folder, std::string& error) {
    std::error_code failed;
    const std::filesystem::path absolute = std::filesystem::absolute(folder, failed);
    std::filesystem::create_directories(absolute.parent_path(), failed);
    if (mkdir(absolute.c_str(), kOwnerOnlyFolder) != 0 && errno != EEXIST) {
        error = WhatFailed("made", absolute);
        return std::nullopt;
    }
    struct stat status {};
    errno = 0;
    const bool isFolder = stat(absolute.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
    if (!isFolder || access(absolute.c_str(), R_OK | W_OK | X_OK) != 0) {
        if (errno == 0) errno = ENOTDIR;
        error = WhatFailed("used as the folder for the state", absolute);
        return std::nullopt;
    }
    // One that was there before keeps its access: it may be somebody's for other reasons, too.
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        error = fmt::format("{} cannot be used as the folder for the state: others may write to it.",
                            absolute.string());
        return std::nullopt;
    }
    return StateFolder(absolute);
}

std::optional<std::string> StateFolder::Read(const std::string& name, std::string& error) const {
    const std::filesystem::path path = PathOf(name);
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        if (errno != ENOENT) error = WhatFailed("read", path);
        return std::nullopt;
    }
    const support::ScopeGuard closing([file] { close(file); });
    std::string content;
    char chunk[65536];
    while (true) {
        const ssize_t count = ::read(file, chunk, sizeof chunk);
        if (count < 0 && errno == EINTR) continue;
        if (count == 0) return content;
        if (count < 0 || content.size() > kLargestFile) {
            if (count >= 0) errno = EFBIG;
            error = WhatFailed("read", path);
            return std::nullopt;
        }
        content.append(chunk, static_cast<std::size_t>(count));
    }
}

bool StateFolder::Write(const std::string& name, const std::string& content, FileAccess access,
                        std::string& error) const {
    const std::filesystem::path path = PathOf(name);
    std::string temporary = path.string() + ".XXXXXX";
    const int file = mkostemp(temporary.data(), O_CLOEXEC);
    if (file < 0) {
        error = WhatFailed("written", path);
        return false;
    }
    const mode_t mode = access == FileAccess::OwnerOnly ? kOwnerOnly : kEverybody;
    const bool written = fchmod(file, mode) == 0 && WriteAll(file, content);
    const int writeError = errno;
    const bool closed = close(file) == 0;
    if (!written) errno = writeError;
    if (!written || !closed || rename(temporary.c_str(), path.c_str()) != 0) {
        error = WhatFailed("written", path);
        unlink(temporary.c_str());
        return false;
    }
    SyncFolder(folder);
    return true;
}

std::shared_ptr<void> StateFolder::Lock(const std::string& name, Patience patience) const {
    const int file = open(PathOf(name).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kOwnerOnly);
    if (file < 0) return nullptr;
    const int how = patience == Patience::Waits ? LOCK_EX : LOCK_EX | LOCK_NB;
    int result = 0;
    do {
        result = flock(file, how);
    } while (result != 0 && errno == EINTR);
    if (result != 0) {
        close(file);
        return nullptr;
    }
    // The descriptor is the lock; what is held is only its number.
    return {new int(file), [](int* held) {
                close(*held);
                delete held;
            }};
}

}  // namespace petrel
