// One run of halyard: the host with its sources, from start to report. [main-thread]
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "apps/halyard/Options.h"
#include "apps/halyard/PanelConsole.h"
#include "apps/halyard/PhonesServer.h"
#include "apps/halyard/Progress.h"
#include "apps/halyard/SourceMonitor.h"
#include "host/core/zObject.h"
#include "host_runtime/sources/Host.h"

namespace halyard {

class App {
public:
    explicit App(Options commandLine);
    App(const App&) = delete;
    App& operator=(const App&) = delete;
    ~App();

    // Runs until the duration is over or RequestEnd(); returns the exit code.
    int Run();
    // [any-thread]
    static void RequestEnd();

private:
    struct Watched {
        std::shared_ptr<host_runtime::Source> source;
        std::shared_ptr<SourceMonitor> monitor;
        std::int64_t picturesBefore = 0;
        host_runtime::SourcePanel* panel = nullptr;  // the host's; null when the plug-in offers none
    };

    // Each says on standard error what is wrong.
    bool OpenOutputs();
    bool StartSources();
    bool AddSources();
    bool StartPhones();
    void RunDiscoveredPhones();

    void Watch(const std::shared_ptr<host_runtime::Source>& source);
    void OpenConsole();
    std::vector<ShownPanel> Panels() const;
    void ScheduleProgress(std::int64_t round);
    void ShowProgress(std::int64_t round);
    bool FinishRecordings();
    bool WriteReport(double durationSeconds);
    bool EverySourceDelivered() const;
    void Complain(const std::string& sentence);
    void TakeNotices();

    const Options options;
    const int progressDescriptor;
    const Progress::Style progressStyle;
    Progress progress;
    std::shared_ptr<zObject> lifetime;
    int traceDescriptor;
    std::int64_t startedAtUs = 0;
    std::vector<Watched> watched;
    std::shared_ptr<Timeline> timeline;  // with --timeline
    std::unique_ptr<host_runtime::Host> host;
    std::shared_ptr<ServedPhones> servedPhones;
    std::unique_ptr<PhonesServer> phones;   // with --with-phones
    std::unique_ptr<PanelConsole> console;  // with --panel, while it runs
};

}  // namespace halyard
