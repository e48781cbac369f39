// Settings of sources: as stored texts that become records and texts again, and as records in the factory.
#include <fuzzer/FuzzedDataProvider.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "fuzzers/Buffers.h"
#include "fuzzers/FactoryBench.h"
#include "fuzzers/Records.h"
#include "host/renderer/nxRenderer2.h"
#include "host_runtime/media/BufferGroup.h"
#include "host_runtime/sources/RecordJson.h"
#include "plugin/direct_url.h"
#include "session/nxWebRtcSession.h"
#include "session/session_url.h"

namespace {

using fuzzing::FieldsOf;
using fuzzing::Require;
using nlohmann::json;

void CheckCopies(const zRecord& record) {
    const fuzzing::Fields fields = FieldsOf(record);
    zRecord copy = record;
    Require(FieldsOf(copy) == fields, "a copy has the same fields");
    for (const auto& [name, value] : fields) {
        Require(copy.Has(std::string_view(name)), "a field is there");
        copy.Erase(std::string_view(name));
        Require(!copy.Has(std::string_view(name)), "an erased field is gone");
    }
    Require(FieldsOf(copy).empty(), "nothing but fields is left");
    copy = record;
    const zRecord moved = std::move(copy);
    Require(FieldsOf(moved) == fields, "a moved record has the same fields");
}

// The record that the text of an object gives.
zRecord ReadAndWrite(const json& stored) {
    const zRecord record = host_runtime::ReadRecord(stored);
    json written = stored;
    host_runtime::WriteRecord(record, written);
    Require(FieldsOf(host_runtime::ReadRecord(written)) == FieldsOf(record),
            "a written record reads the same");
    for (const auto& [name, value] : stored.items()) {
        if (!record.Has(std::string_view(name)))
            Require(written.contains(name) && written[name] == value, "members that no field can hold stay");
    }
    Require(written.size() == stored.size(), "an unchanged record adds nothing");

    zRecord emptied;
    host_runtime::WriteRecord(emptied, written);
    for (const auto& [name, value] : FieldsOf(record))
        Require(!written.contains(name), "a field that is gone is not written");
    CheckCopies(record);
    return record;
}

void Activate(fuzzing::FactoryBench& bench, const std::string& identifier, zRecord& settings) {
    const std::string before = bench.UrlOf(identifier);
    const bool done =
        fuzzing::WithoutJsonError([&] { bench.factory->ActivateSource(identifier.c_str(), settings); });
    const std::string address = settings.AsCString("kestrel_ip_address", "");
    const std::string url = bench.UrlOf(identifier);
    if (address.empty()) {
        Require(url == before, "settings without an address leave the session alone");
    } else if (done) {
        // No socket opens here, so no session is ever started.
        Require(url == SessionUrl(DirectUrl(address)), "a source dials the address of its settings");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider bytes(data, size);
    const auto choices = bytes.ConsumeIntegral<std::uint16_t>();
    const std::string text = bytes.ConsumeRandomLengthString(2048);
    {
        fuzzing::FactoryBench bench;
        const json stored = json::parse(text, nullptr, false);
        zRecord settings = stored.is_object() ? ReadAndWrite(stored) : fuzzing::AnySettings(bytes);

        if ((choices & 1U) != 0) {
            nxSourceDescription description;
            bench.factory->NewSource(description, settings);
            Require(!description.identifier.empty(), "a new source has an identifier");
            Require(description.displayName == settings.AsCString("name", ""), "a new source keeps its name");
            Require(!settings.AsBool("autoDiscovered", true), "a new source is a direct one");
            Activate(bench, description.identifier, settings);
        }
        const std::string identifier = (choices & 2U) != 0 ? "source-1" : fuzzing::AnyText(bytes);
        for (int count = 0; count < 4; ++count) {
            Activate(bench, identifier, settings);
            for (const mdMediaType type : {kMediaTypeVideo, kMediaTypeAudio}) {
                std::shared_ptr<nxRenderer2> renderer;
                bench.factory->CreateRenderer(renderer, identifier.c_str(), type, fuzzing::Buffers());
                Require(renderer != nullptr, "an activated source has picture and sound");
                renderer->ApplySettings(settings);
            }
            if ((choices & 4U) != 0) bench.time.AdvanceBy(6'000'000);
            if (bytes.remaining_bytes() == 0) break;
            settings = fuzzing::AnySettings(bytes);
        }
    }
    fuzzing::RequireFactoryGone();
    return 0;
}
