// Names of recordings.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace halyard {

// A file name made of a source's name or address: letters, digits, '.', '-' and '_' stay, the rest becomes
// '_'. Never empty, never hidden, at most 100 bytes.
std::string SafeFileName(std::string_view text);

// Makes an empty file in `directory` that did not exist before: NAME.mkv, else NAME-2.mkv and so on. An empty
// path, with one sentence in `error`, when none can be made.
std::filesystem::path ReserveRecordingFile(const std::filesystem::path& directory, std::string_view name,
                                           std::string& error);

}  // namespace halyard
