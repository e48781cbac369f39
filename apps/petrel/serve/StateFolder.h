// The folder in which the server keeps what must outlive it, readable by its owner only.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace petrel {

// Where the state lies unless somebody says otherwise: $XDG_STATE_HOME/petrel/serve.
std::filesystem::path DefaultStateFolder();

enum class FileAccess { OwnerOnly, Everybody };

class StateFolder {
public:
    // Makes the folder where it is missing, for its owner only. Nothing with a sentence in `error` when it
    // cannot be used, or others may write to it.
    static std::optional<StateFolder> Open(const std::filesystem::path& folder, std::string& error);

    std::filesystem::path PathOf(const std::string& name) const { return folder / name; }

    // Nothing when there is no such file, or with a sentence in `error` when it cannot be read.
    std::optional<std::string> Read(const std::string& name, std::string& error) const;

    // Whole or not at all. False with a sentence in `error`; the old file is as it was.
    bool Write(const std::string& name, const std::string& content, FileAccess access,
               std::string& error) const;

    // Held until the end of the returned object. Null at once when somebody else holds it and `wait` is
    // false, or when the file cannot be made.
    enum class Patience { Waits, GivesUp };
    std::shared_ptr<void> Lock(const std::string& name, Patience patience) const;

private:
    explicit StateFolder(std::filesystem::path toUse) : folder(std::move(toUse)) {}

    std::filesystem::path folder;
};

}  // namespace petrel
