// A host that has nothing to do but look: it pulls every millisecond, so that a picture is seen as soon as it
// can be pulled, and beside that thirty times a second, as a programme does.
//   watch_host --plugin FILE ADDRESS...                    see Commands.h
//   watch_host --plugin FILE --activations COUNT ADDRESS   one JSON line: milliseconds from activation to the
//                                                          first picture, again and again in one process
#include <signal.h>

#include <charconv>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "benchmarks/streams/Commands.h"
#include "benchmarks/streams/StreamWatch.h"
#include "host/media/nxBuffer2.h"
#include "host_runtime/core/MainThreadQueue.h"
#include "host_runtime/core/TraceOutput.h"
#include "host_runtime/sources/Host.h"

namespace {

using benchmarks::StreamWatch;
using host_runtime::MainThreadQueue;

constexpr host_runtime::FrameRate kLookRate{1000, 1};
constexpr host_runtime::FrameRate kProgrammeRate{30, 1};
constexpr std::int64_t kAskEveryUs = 2'000;
constexpr std::int64_t kRestUs = 500'000;  // so that the last activation has ended on both sides
constexpr std::int64_t kPatienceUs = 30'000'000;

struct Arguments {
    std::string plugin;
    int activations = 0;
    std::vector<std::string> addresses;
};

class Watcher final : public host_runtime::PullConsumer {
public:
    void OnPicture(const host_runtime::PulledPicture& picture) override {
        const std::int64_t nowUs = benchmarks::NowUs();
        if (!picture.isNew) return;
        nxBuffer2& buffer = *picture.buffer;
        watch.OnPicture({buffer.GetDisplayWidth(), buffer.GetDisplayHeight(), buffer.Data(),
                         buffer.AsInt32(FourCC("mbpr"), 0)},
                        nowUs);
    }
    void OnSound(const host_runtime::PulledSound&) override {}

    StreamWatch watch;
};

void Post(std::int64_t delayUs, std::function<void()> action) {
    MainThreadQueue::Job job;
    job.delayUs = delayUs;
    job.action = std::move(action);
    MainThreadQueue::Default().Post(std::move(job));
}

// Runs main-thread jobs until the condition holds; false when the time is over first.
bool RunUntil(const std::function<bool()>& condition, std::int64_t limitUs) {
    const std::int64_t deadlineUs = benchmarks::NowUs() + limitUs;
    bool holds = false;
    const std::function<void()> ask = [&] {
        holds = condition();
        if (holds || benchmarks::NowUs() >= deadlineUs) {
            MainThreadQueue::Default().Quit();
        } else {
            Post(kAskEveryUs, ask);
        }
    };
    Post(0, ask);
    MainThreadQueue::Default().Run();
    return holds;
}

int Complain(const std::string& sentence) {
    std::fprintf(stderr, "watch_host: %s\n", sentence.c_str());
    return 1;
}

int Activate(host_runtime::Host& host, const std::string& address, int times) {
    nlohmann::json milliseconds = nlohmann::json::array();
    for (int time = 0; time < times; ++time) {
        const auto watcher = std::make_shared<Watcher>();
        const auto source = host.Sources().Add(address);
        if (!source) return Complain("the address cannot be used");
        host.Puller().Add(source, watcher);
        if (!RunUntil([&watcher] { return watcher->watch.HasPicture(); }, kPatienceUs))
            return Complain("no picture came");
        const std::int64_t afterUs = *watcher->watch.FirstPictureAtUs() - source->FirstActivatedAtUs();
        milliseconds.push_back(static_cast<double>(afterUs) / 1000.0);
        host.Puller().Remove(*source);
        host.Sources().Remove(source->Identifier());
        RunUntil([] { return false; }, kRestUs);
    }
    benchmarks::Say(nlohmann::json{{"event", "result"}, {"firstPictureMs", milliseconds}}.dump() + "\n");
    return 0;
}

std::string EndLine(const std::vector<std::shared_ptr<Watcher>>& lookers,
                    const std::vector<std::shared_ptr<Watcher>>& programme) {
    std::vector<StreamWatch::Result> results;
    std::vector<double> pulled;
    for (const auto& looker : lookers)
        results.push_back(looker->watch.Now());
    for (const auto& watcher : programme) {
        const std::vector<double> latencies = watcher->watch.Now().latenciesMs;
        pulled.insert(pulled.end(), latencies.begin(), latencies.end());
    }
    nlohmann::json line = nlohmann::json::parse(benchmarks::ResultLine(results));
    line["programmeLatencyMs"] = benchmarks::Percentiles(std::move(pulled));
    return line.dump() + "\n";
}

int Watch(host_runtime::Host& host, const std::vector<std::string>& addresses) {
    host_runtime::SourcePuller programmePuller(kProgrammeRate);
    std::vector<std::shared_ptr<Watcher>> lookers;
    std::vector<std::shared_ptr<Watcher>> programme;
    for (const std::string& address : addresses) {
        const auto source = host.Sources().Add(address);
        if (!source) return Complain("the address " + address + " cannot be used");
        host.Puller().Add(source, lookers.emplace_back(std::make_shared<Watcher>()));
        programmePuller.Add(source, programme.emplace_back(std::make_shared<Watcher>()));
    }
    programmePuller.Start();
    const auto allShow = [&lookers] {
        for (const auto& looker : lookers) {
            if (!looker->watch.HasPicture()) return false;
        }
        return true;
    };
    if (!RunUntil(allShow, kPatienceUs)) return Complain("not every phone gave a picture");
    benchmarks::Say("{\"event\":\"ready\"}\n");

    benchmarks::Commands commands;
    commands.begin = [&](bool readStamps) {
        for (const auto* watchers : {&lookers, &programme}) {
            for (const auto& watcher : *watchers)
                watcher->watch.Begin(readStamps);
        }
    };
    commands.end = [&] { return EndLine(lookers, programme); };
    std::thread reader([&commands] {
        benchmarks::ReadCommands(commands);
        MainThreadQueue::Default().Quit();
    });
    MainThreadQueue::Default().Run();
    reader.join();
    programmePuller.Stop();
    return 0;
}

bool ReadArguments(int argc, char** argv, Arguments& arguments) {
    for (int index = 1; index < argc; ++index) {
        const std::string_view word = argv[index];
        if ((word == "--plugin" || word == "--activations") && index + 1 < argc) {
            const std::string_view value = argv[++index];
            if (word == "--plugin") arguments.plugin = value;
            if (word == "--activations")
                std::from_chars(value.data(), value.data() + value.size(), arguments.activations);
        } else {
            arguments.addresses.emplace_back(word);
        }
    }
    return !arguments.plugin.empty() && !arguments.addresses.empty();
}

}  // namespace

int main(int argc, char** argv) {
    signal(SIGPIPE, SIG_IGN);
    Arguments arguments;
    if (!ReadArguments(argc, argv, arguments)) {
        Complain("watch_host --plugin FILE [--activations COUNT] ADDRESS...");
        return 2;
    }
    host_runtime::SetTraceSink([](zFourCC, const std::string&) {});
    std::string error;
    const auto host = host_runtime::Host::Make({arguments.plugin, {}, kLookRate}, error);
    if (!host) return Complain(error);
    host->Puller().Start();
    return arguments.activations > 0 ? Activate(*host, arguments.addresses.front(), arguments.activations)
                                     : Watch(*host, arguments.addresses);
}
