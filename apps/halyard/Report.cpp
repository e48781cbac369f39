#include "apps/halyard/Report.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>

namespace halyard {
namespace {

using Json = nlohmann::ordered_json;

double Rounded(double value, double steps) {
    return std::round(value * steps) / steps;
}

Json Tenths(const std::optional<double>& value) {
    return value ? Json(Rounded(*value, 10.0)) : Json();
}

void AddProbe(const SourceMonitor::ProbeResult& probe, Json& entry) {
    entry["latencyMs"] = {{"p50", Tenths(probe.latencyP50)},
                          {"p95", Tenths(probe.latencyP95)},
                          {"p99", Tenths(probe.latencyP99)},
                          {"max", Tenths(probe.latencyMax)}};
    entry["skippedPictures"] = probe.skippedPictures;
    entry["repeatedPictures"] = probe.repeatedPictures;
    // What the middle pair of flash and beep says, and how steady all of them are.
    const auto& offset = probe.soundOffset;
    entry["soundOffsetMs"] = offset ? Json(Rounded(offset->medianMs, 10.0)) : Json();
    entry["soundOffsetMeanMs"] = offset ? Json(Rounded(offset->meanMs, 10.0)) : Json();
    entry["soundOffsetDeviationMs"] = offset ? Json(Rounded(offset->largestDeviationMs, 10.0)) : Json();
}

Json Entry(const ReportedSource& source) {
    const SourceMonitor::Counts& counts = source.counts;
    Json entry;
    entry["identifier"] = source.identifier;
    entry["name"] = source.name;
    entry["address"] = source.address;
    entry["connected"] = counts.HasPicture();
    entry["width"] = counts.width;
    entry["height"] = counts.height;
    entry["picturesPulled"] = counts.picturesPulled;
    entry["distinctPictures"] = counts.distinctPictures;
    entry["soundBlocksPulled"] = counts.soundBlocksPulled;
    entry["silentSoundBlocks"] = counts.silentSoundBlocks;
    entry["firstPictureMs"] = nullptr;
    if (counts.firstPictureAtUs) {
        const double afterUs = static_cast<double>(*counts.firstPictureAtUs - source.activatedAtUs);
        entry["firstPictureMs"] = Rounded(afterUs / 1000.0, 10.0);
    }
    entry["status"] = source.status ? Json(*source.status) : Json();
    entry["megabitsPerSecond"] = Tenths(source.megabitsPerSecond);
    if (counts.probe) AddProbe(*counts.probe, entry);
    return entry;
}

}  // namespace

std::string ReportText(double durationSeconds, const std::vector<ReportedSource>& sources) {
    Json report;
    report["durationSeconds"] = Rounded(durationSeconds, 1000.0);
    report["sources"] = Json::array();
    for (const ReportedSource& source : sources)
        report["sources"].push_back(Entry(source));
    return report.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace halyard
