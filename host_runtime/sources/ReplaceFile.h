// Files that are replaced as a whole: a reader, or a restart after a crash, sees the old text or the new one.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace host_runtime {

// Writes a temporary file beside `file`, syncs it to disk and renames it. False with one sentence in `error`.
bool ReplaceFile(const std::filesystem::path& file, std::string_view text, std::string& error);

// Whether a file could be made in `directory`; false with one sentence in `error`. Leaves nothing behind.
bool CanCreateFileIn(const std::filesystem::path& directory, std::string& error);

}  // namespace host_runtime
