#include "host_runtime/sources/SourceStore.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <utility>

#include "host_runtime/sources/RecordJson.h"
#include "host_runtime/sources/ReplaceFile.h"
#include "host_runtime/sources/SourceText.h"

namespace host_runtime {
namespace {

using nlohmann::json;

constexpr const char* kFileName = "sources.json";
constexpr int kVersion = 1;
constexpr int kMaximumDepth = 32;

// Nothing for a text that is no JSON or nested without reason.
json ParseDocument(const std::string& text) {
    bool tooDeep = false;
    json parsed = json::parse(
        text,
        [&tooDeep](int depth, json::parse_event_t, json&) {
            tooDeep = tooDeep || depth > kMaximumDepth;
            return depth <= kMaximumDepth;
        },
        false);
    return tooDeep ? json(json::value_t::discarded) : parsed;
}

std::string IdentifierOf(const json& entry) {
    if (!entry.is_object()) return {};
    const auto found = entry.find("identifier");
    return found != entry.end() && found->is_string() ? found->get<std::string>() : std::string();
}

bool ReadFlag(const json& entry, const char* name) {
    const auto found = entry.find(name);
    return found != entry.end() && found->is_boolean() && found->get<bool>();
}

bool IsReadable(const json& entry) {
    if (!IsUsableIdentifier(IdentifierOf(entry))) return false;
    const auto settings = entry.find("settings");
    return settings != entry.end() && settings->is_object();
}

// Writes what is known of a source over `entry`, whose other members stay.
void WriteEntry(const StoredSource& source, json& entry) {
    entry["identifier"] = source.identifier;
    entry["audioMuted"] = source.audioMuted;
    entry["videoMuted"] = source.videoMuted;
    json& settings = entry["settings"];
    if (!settings.is_object()) settings = json::object();
    WriteRecord(source.settings, settings);
}

}  // namespace

SourceStore::SourceStore() : document(std::make_unique<json>(json::object())) {}
SourceStore::~SourceStore() = default;

bool SourceStore::Open(const std::filesystem::path& directory, std::string& error) {
    std::error_code code;
    std::filesystem::create_directories(directory, code);
    if (!std::filesystem::is_directory(directory, code)) {
        error = "The state directory " + directory.string() + " cannot be made.";
        return false;
    }
    if (!CanCreateFileIn(directory, error)) return false;
    file = directory / kFileName;
    if (!std::filesystem::exists(file, code)) return true;
    if (!Read()) {
        error = "The stored sources in " + file.string() + " cannot be read.";
        return false;
    }
    return true;
}

bool SourceStore::Read() {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) return false;
    const std::string text((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    if (stream.bad()) return false;

    json parsed = ParseDocument(text);
    const bool complete = parsed.is_object() && parsed.contains("sources") && parsed["sources"].is_array();
    if (!complete) {
        SetAside("it is damaged");
        return true;
    }
    *document = std::move(parsed);
    for (const json& entry : (*document)["sources"]) {
        if (!IsReadable(entry) || Find(IdentifierOf(entry)) != nullptr) {
            notices.push_back("A stored source in " + file.string() +
                              " is left out: it cannot be understood.");
            continue;
        }
        StoredSource source;
        source.identifier = IdentifierOf(entry);
        source.settings = ReadRecord(entry["settings"]);
        source.audioMuted = ReadFlag(entry, "audioMuted");
        source.videoMuted = ReadFlag(entry, "videoMuted");
        sources.push_back(std::move(source));
    }
    return true;
}

void SourceStore::SetAside(const std::string& reason) {
    std::error_code code;
    std::filesystem::path aside;
    for (int number = 1; aside.empty() || std::filesystem::exists(aside, code); ++number)
        aside = file.string() + ".damaged-" + std::to_string(number);
    std::filesystem::rename(file, aside, code);
    if (code) {
        notices.push_back("The file of stored sources " + file.string() +
                          " is left alone, and nothing is stored: " + reason + ".");
        file.clear();
        return;
    }
    notices.push_back("The file of stored sources was set aside as " + aside.string() + ": " + reason + ".");
}

bool SourceStore::Write() {
    if (file.empty()) return true;
    json entries = json::array();
    json& before = (*document)["sources"];
    for (const StoredSource& source : sources) {
        json entry = json::object();
        for (json& old : before) {
            if (IdentifierOf(old) == source.identifier && IsReadable(old)) entry = old;
        }
        WriteEntry(source, entry);
        entries.push_back(std::move(entry));
    }
    for (json& old : before) {
        if (!IsReadable(old)) entries.push_back(std::move(old));
    }
    before = std::move(entries);
    if (!document->contains("version")) (*document)["version"] = kVersion;

    std::string error;
    const std::string text = document->dump(2, ' ', false, json::error_handler_t::replace) + "\n";
    if (ReplaceFile(file, text, error)) return true;
    notices.push_back("The sources could not be stored. " + error);
    return false;
}

const StoredSource* SourceStore::Find(std::string_view identifier) const {
    const auto found = std::find_if(sources.begin(), sources.end(), [identifier](const StoredSource& source) {
        return source.identifier == identifier;
    });
    return found != sources.end() ? &*found : nullptr;
}

const StoredSource* SourceStore::FindByAddress(std::string_view address) const {
    const std::string key = AddressKey(address);
    const auto found = std::find_if(sources.begin(), sources.end(), [&key](const StoredSource& source) {
        const bool direct = !source.settings.AsBool("autoDiscovered", true);
        return direct && AddressKey(source.settings.AsCString("kestrel_ip_address", "")) == key;
    });
    return found != sources.end() && !key.empty() ? &*found : nullptr;
}

bool SourceStore::Put(const StoredSource& source) {
    const auto found = std::find_if(sources.begin(), sources.end(), [&source](const StoredSource& stored) {
        return stored.identifier == source.identifier;
    });
    if (found != sources.end()) {
        *found = source;
    } else {
        sources.push_back(source);
    }
    return Write();
}

bool SourceStore::Erase(std::string_view identifier) {
    const auto removed = std::erase_if(
        sources, [identifier](const StoredSource& source) { return source.identifier == identifier; });
    return removed == 0 || Write();
}

std::vector<std::string> SourceStore::TakeNotices() {
    return std::exchange(notices, {});
}

}  // namespace host_runtime
