#include "apps/halyard/App.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "apps/halyard/Places.h"
#include "apps/halyard/Report.h"
#include "host/core/zThread.h"
#include "host_runtime/core/MainThreadQueue.h"
#include "host_runtime/core/Printable.h"
#include "host_runtime/core/TraceOutput.h"
#include "host_runtime/core/UserLog.h"
#include "host_runtime/discovery/AvahiBrowser.h"
#include "host_runtime/sources/ReplaceFile.h"
#include "host_runtime/sources/SteadyClock.h"

namespace halyard {
namespace {

using host_runtime::SourceState;
using host_runtime::TallyState;

constexpr std::int64_t kSecondUs = 1'000'000;
constexpr const char* kStandardOutput = "-";

std::string StateText(const host_runtime::Source& source, const SourceMonitor::Counts& counts,
                      bool hasNewPictures) {
    if (source.State() == SourceState::AddressInUse) return "in use";
    if (source.State() == SourceState::Inactive) return "inactive";
    if (hasNewPictures) return "live";
    if (source.State() == SourceState::Offline) return "offline";
    return counts.HasPicture() ? "stalled" : "waiting";
}

std::string WholeLines(const std::string& text) {
    std::string lines = host_runtime::Printable(text, host_runtime::LineFeeds::Keep);
    if (lines.empty() || lines.back() != '\n') lines += '\n';
    return lines;
}

}  // namespace

App::App(Options commandLine)
    : options(std::move(commandLine)),
      progressDescriptor(options.report == kStandardOutput ? STDERR_FILENO : STDOUT_FILENO),
      progressStyle(Progress::StyleFor(progressDescriptor, options.quiet && !options.panel)),
      progress(progressDescriptor, progressStyle),
      lifetime(std::make_shared<zObject>()),
      traceDescriptor(STDERR_FILENO) {}

App::~App() {
    lifetime.reset();
    console.reset();
    phones.reset();
    host.reset();
    host_runtime::SetUserLogListener({});
    host_runtime::SetTraceSink({});
    if (traceDescriptor != STDERR_FILENO) ::close(traceDescriptor);
}

void App::RequestEnd() {
    host_runtime::MainThreadQueue::Default().Quit();
}

int App::Run() {
    if (!OpenOutputs() || !StartSources() || !StartPhones()) return kExitBadUsage;
    startedAtUs = host_runtime::SteadyNowUs();
    if (options.durationSeconds) {
        const auto durationUs = static_cast<std::int64_t>(*options.durationSeconds * 1e6);
        zThread::ExecuteOnMainThread(lifetime, durationUs, {}, [] { RequestEnd(); });
    }
    ScheduleProgress(1);
    OpenConsole();
    host->Puller().Start();
    host_runtime::MainThreadQueue::Default().Run();

    console.reset();
    host->Puller().Stop();
    const double seconds = static_cast<double>(host_runtime::SteadyNowUs() - startedAtUs) / 1e6;
    const bool recorded = FinishRecordings();
    const bool reported = WriteReport(seconds);
    TakeNotices();
    return EverySourceDelivered() && recorded && reported ? kExitDelivered : kExitMissing;
}

bool App::OpenOutputs() {
    std::string error;
    if (!options.traceFile.empty()) {
        traceDescriptor =
            ::open(options.traceFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0666);
        if (traceDescriptor < 0) {
            traceDescriptor = STDERR_FILENO;
            Complain("Cannot write the trace to " + options.traceFile.string() + ": " +
                     std::generic_category().message(errno) + ".");
            return false;
        }
    }
    host_runtime::SetTraceSink(
        [this](zFourCC, const std::string& text) { progress.Write(traceDescriptor, WholeLines(text)); });
    if (!options.quiet) {
        host_runtime::SetUserLogListener([this](const host_runtime::UserLogEntry& entry) {
            progress.Write(progressDescriptor, "halyard: " + WholeLines(entry.text));
        });
    }
    if (!options.report.empty() && options.report != kStandardOutput) {
        const std::filesystem::path file(options.report);
        if (std::filesystem::is_directory(file)) {
            Complain("The report cannot be written: " + options.report + " is a directory.");
            return false;
        }
        const auto directory = file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
        if (!host_runtime::CanCreateFileIn(directory, error)) {
            Complain("The report cannot be written. " + error);
            return false;
        }
    }
    if (!options.timelineFile.empty()) {
        timeline = Timeline::Open(options.timelineFile, error);
        if (!timeline) {
            Complain("The timeline cannot be written. " + error);
            return false;
        }
    }
    if (!options.recordDirectory.empty()) {
        std::error_code ignored;
        std::filesystem::create_directories(options.recordDirectory, ignored);
        if (!host_runtime::CanCreateFileIn(options.recordDirectory, error)) {
            Complain("Nothing can be recorded. " + error);
            return false;
        }
    }
    return true;
}

bool App::StartSources() {
    std::string error;
    host = host_runtime::Host::Make({options.plugin, options.stateDirectory, options.frameRate}, error);
    if (!host) {
        Complain(error);
        return false;
    }
    TakeNotices();
    if (!AddSources()) return false;
    for (const auto& source : host->Sources().Sources())
        Watch(source);
    if (options.discovered || options.phones.wanted) {
        host->Sources().SetChangeListener([this] { RunDiscoveredPhones(); });
        servedPhones = std::make_shared<ServedPhones>();
        host->Discover(
            servedPhones->Browser(options.discovered ? host_runtime::MakeAvahiBrowser() : nullptr));
    } else if (watched.empty()) {
        Complain("There are no stored sources; give --source ADDRESS, or --panel to type one.");
        return false;
    }
    return true;
}

// A server that cannot be run is no reason not to show what else there is.
bool App::StartPhones() {
    if (!options.phones.wanted) return true;
    PhonesServer::Outputs outputs;
    outputs.tell = [this](const std::string& text) {
        if (!options.quiet) progress.Write(progressDescriptor, text);
    };
    outputs.complain = [this](const std::string& text) { progress.Write(STDERR_FILENO, text); };
    outputs.isTerminal = progressStyle == Progress::Style::Redrawn;
    phones = std::make_unique<PhonesServer>(servedPhones, std::move(outputs));
    const bool started = phones->Start(DefaultPhonesProgram(), options.phones);
    return started || options.discovered || !watched.empty();
}

bool App::AddSources() {
    if (options.sources.empty() && !options.discovered) host->Sources().RestoreAll();
    for (const std::string& address : options.sources) {
        if (!host->Sources().Add(address)) {
            Complain("The source " + address + " cannot be added: another source already uses that phone.");
            return false;
        }
    }
    // The operator will type its address.
    const bool phonesMayCome = options.discovered || options.phones.wanted;
    const bool needsOne = options.panel && !phonesMayCome && host->Sources().Sources().empty();
    if (needsOne) host->Sources().AddWithoutAddress({});
    return true;
}

void App::RunDiscoveredPhones() {
    host_runtime::SourceList& sources = host->Sources();
    for (const host_runtime::DiscoveredPhone& phone : sources.Phones()) {
        // A phone may run already as a source that was given by address.
        if (sources.Find(phone.peerIdentifier) || sources.FindByAddress(phone.host)) continue;
        if (const auto source = sources.ActivatePhone(phone.peerIdentifier)) Watch(source);
    }
}

void App::Watch(const std::shared_ptr<host_runtime::Source>& source) {
    std::shared_ptr<Recorder> recorder;
    if (!options.recordDirectory.empty())
        recorder = std::make_shared<Recorder>(options.recordDirectory, source->Address());
    const auto monitor = std::make_shared<SourceMonitor>(options.probe, recorder);
    if (timeline) monitor->WriteTo(timeline, source->Address());
    host->Puller().Add(source, monitor);
    watched.push_back({source, monitor, 0, host->OpenPanel(source->Identifier())});
}

void App::OpenConsole() {
    if (!options.panel) return;
    console = std::make_unique<PanelConsole>(
        [this] { return Panels(); }, progress, progressStyle, progressDescriptor,
        [this](PanelConsole::End end) {
            const bool goesOn = end == PanelConsole::End::Input && options.durationSeconds.has_value();
            if (!goesOn) RequestEnd();
        });
    console->Start();
    console->ReadFrom(STDIN_FILENO);
}

std::vector<ShownPanel> App::Panels() const {
    std::vector<ShownPanel> panels;
    for (const Watched& one : watched) {
        ShownPanel shown;
        shown.address = one.source->Address();
        shown.setOnAir = [this, identifier = one.source->Identifier()](bool isOnAir) {
            host->Sources().SetTally(identifier, isOnAir ? TallyState::Program : TallyState::Off);
        };
        if (one.panel != nullptr) {
            shown.glass = &one.panel->Glass();
            shown.views = &one.panel->Views();
        }
        panels.push_back(std::move(shown));
    }
    return panels;
}

void App::ScheduleProgress(std::int64_t round) {
    const std::int64_t dueUs = startedAtUs + round * kSecondUs;
    const std::int64_t delayUs = std::max<std::int64_t>(0, dueUs - host_runtime::SteadyNowUs());
    zThread::ExecuteOnMainThread(lifetime, delayUs, {}, [this, round] {
        ShowProgress(round);
        ScheduleProgress(round + 1);
    });
}

void App::ShowProgress(std::int64_t round) {
    std::vector<std::string> lines;
    for (Watched& one : watched) {
        const SourceMonitor::Counts counts = one.monitor->Now();
        const std::int64_t newPictures = counts.distinctPictures - one.picturesBefore;
        one.picturesBefore = counts.distinctPictures;
        ProgressLine line;
        line.address = host_runtime::Printable(one.source->Address(), host_runtime::LineFeeds::Replace);
        line.state = StateText(*one.source, counts, newPictures > 0);
        line.width = counts.width;
        line.height = counts.height;
        line.picturesPerSecond = static_cast<double>(newPictures);
        line.soundLevel = one.monitor->TakeSoundLevel();
        if (counts.probe) line.latencyMs = counts.probe->latencyP50;
        if (one.panel != nullptr) {
            line.status = one.panel->Status();
            line.megabitsPerSecond = one.panel->MegabitsPerSecond();
        }
        lines.push_back(std::to_string(round) + " s  " + FormatProgressLine(line));
    }
    if (!options.quiet) progress.Show(lines);
    TakeNotices();
}

bool App::FinishRecordings() {
    bool complete = true;
    for (const Watched& one : watched) {
        if (one.monitor->Recording()) one.monitor->Recording()->Close();
    }
    for (const Watched& one : watched) {
        const std::shared_ptr<Recorder>& recorder = one.monitor->Recording();
        if (!recorder) continue;
        recorder->Finish();
        const std::string what = one.source->Address() + ": ";
        if (!recorder->Failure().empty()) {
            Complain(what + recorder->Failure());
            complete = false;
        }
        if (recorder->DroppedPictures() > 0 || recorder->DroppedSounds() > 0) {
            Complain(what + "the recording left out " + std::to_string(recorder->DroppedPictures()) +
                     " pictures and " + std::to_string(recorder->DroppedSounds()) +
                     " blocks of sound: the encoder or the disk is too slow.");
        }
    }
    return complete;
}

bool App::WriteReport(double durationSeconds) {
    if (options.report.empty()) return true;
    std::vector<ReportedSource> reported;
    for (const Watched& one : watched) {
        ReportedSource entry{one.source->Identifier(),
                             one.source->Name(),
                             one.source->Address(),
                             one.source->FirstActivatedAtUs(),
                             one.monitor->Now(),
                             {},
                             {}};
        if (one.panel != nullptr) {
            entry.status = one.panel->Status();
            entry.megabitsPerSecond = one.panel->MegabitsPerSecond();
        }
        reported.push_back(std::move(entry));
    }
    const std::string text = ReportText(durationSeconds, reported);
    if (options.report == kStandardOutput) {
        const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
        return std::fflush(stdout) == 0 && written;
    }
    std::string error;
    if (host_runtime::ReplaceFile(options.report, text, error)) return true;
    Complain("The report was not written. " + error);
    return false;
}

bool App::EverySourceDelivered() const {
    // Without a source there was nothing to deliver: that happens only when no phone was found.
    return !watched.empty() && std::all_of(watched.begin(), watched.end(), [](const Watched& one) {
        const SourceMonitor::Counts counts = one.monitor->Now();
        return counts.HasPicture() && counts.HasSound();
    });
}

void App::Complain(const std::string& sentence) {
    progress.Write(STDERR_FILENO, "halyard: " + WholeLines(sentence));
}

void App::TakeNotices() {
    for (const std::string& notice : host->Store().TakeNotices())
        Complain(notice);
}

}  // namespace halyard
