// Sources and their settings on disk, so that they survive a restart of the host: one JSON file in a state
// directory, replaced as a whole with each change. Keys that this version does not know are kept.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "host/core/zRecord.h"

namespace host_runtime {

struct StoredSource {
    std::string identifier;
    zRecord settings;  // the record that the plug-in reads and writes
    bool audioMuted = false;
    bool videoMuted = false;
};

// [main-thread] throughout.
class SourceStore {
public:
    // Nothing is stored without a directory.
    SourceStore();
    ~SourceStore();
    SourceStore(const SourceStore&) = delete;
    SourceStore& operator=(const SourceStore&) = delete;

    // Makes the directory when it is missing and reads what is there. False, with one sentence in `error`,
    // when the directory cannot be used. A file that cannot be understood is set aside under another
    // name, and TakeNotices() tells of it.
    bool Open(const std::filesystem::path& directory, std::string& error);

    const std::vector<StoredSource>& Sources() const { return sources; }
    const StoredSource* Find(std::string_view identifier) const;
    // The first direct one whose address is the same phone.
    const StoredSource* FindByAddress(std::string_view address) const;

    // Adds or replaces one and writes the file. False when it could not be written; TakeNotices() says why,
    // and the next change tries again.
    bool Put(const StoredSource& source);
    bool Erase(std::string_view identifier);

    // Sentences for the operator since the last call.
    std::vector<std::string> TakeNotices();

private:
    bool Read();
    bool Write();
    void SetAside(const std::string& reason);

    std::filesystem::path file;
    std::vector<StoredSource> sources;
    std::unique_ptr<nlohmann::json> document;  // as last read or written, with the unknown keys
    std::vector<std::string> notices;
};

}  // namespace host_runtime
