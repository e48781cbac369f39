#include "tests/faults/sdpabort/Trial.h"

#include <glib.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <future>
#include <memory>

#include "tests/contract/webrtc/Call.h"
#include "tests/faults/sdpabort/Descriptions.h"

namespace sdpabort {
namespace {

using contract::Call;
using contract::Record;

constexpr std::uint32_t kStable = 0;  // as the engine numbers its signalling states

constexpr std::chrono::seconds kPictureTime{2};

Tally* sharedTally = nullptr;

GLogWriterOutput CountCriticals(GLogLevelFlags level, const GLogField* fields, gsize count, gpointer) {
    if ((level & G_LOG_LEVEL_CRITICAL) != 0) {
        ++sharedTally->criticals;
        for (gsize index = 0; index < count; ++index) {
            if (std::strcmp(fields[index].key, "MESSAGE") == 0)
                std::fprintf(stderr, "critical in %llu: %s\n",
                             static_cast<unsigned long long>(sharedTally->current),
                             static_cast<const char*>(fields[index].value));
        }
    }
    return G_LOG_WRITER_HANDLED;
}

void Remember(const std::string& text) {
    const std::size_t size = std::min(text.size(), sizeof(sharedTally->text) - 1);
    std::memcpy(sharedTally->text, text.data(), size);
    sharedTally->text[size] = '\0';
}

// The connection's worker does one thing after another: once the statistics are there, so is the rest.
bool WaitForWorker(Call& call) {
    const auto done = std::make_shared<Record>();
    call.connection->GetStats(
        new contract::StatsReader([done](const vo_webrtc::voStats&) { done->Add("done"); }));
    return done->WaitFor("done").has_value();
}

// What the phone cannot send is not waited for: the packets that come until then suffice.
bool ShowsPictures(vo_webrtc::voMediaStreamInterface& stream) {
    if (!stream.VideoTrack(0)) return false;
    const auto shown = std::make_shared<std::promise<void>>();
    const auto missing = std::make_shared<std::atomic<int>>(3);
    const vo_webrtc::voPointer<vo_webrtc::voVideoTrackInterface::Sink> sink(
        new contract::VideoSink([shown, missing](const vo_webrtc::voI420Frame&) {
            if (--*missing == 0) shown->set_value();
        }));
    stream.VideoTrack(0)->AddOrUpdateSink(sink);
    const bool inTime = shown->get_future().wait_for(kPictureTime) == std::future_status::ready;
    stream.VideoTrack(0)->RemoveSink(sink);
    return inTime;
}

// Candidates of a description that stands may be refused one by one.
std::size_t Refusals(Call& call) {
    const std::vector<Record::Entry> all = call.record.All();
    return static_cast<std::size_t>(std::count_if(all.begin(), all.end(), [](const Record::Entry& entry) {
        return entry.what == "failure" && entry.text.find("ICE candidate") == std::string::npos;
    }));
}

class Bench {
public:
    explicit Bench(std::uint64_t seedToUse) : seed(seedToUse) {}

    void Try(std::uint64_t number) {
        Dice dice(seed * 1'000'003 + number);
        const bool isGood = number % kUnmutatedEvery == 0;
        if (number % kLiveEvery == kLiveEvery - 1) return TryLive(dice);
        if (!Prepare()) {
            ++sharedTally->unanswered;
            return;
        }
        const bool offers = number % kOfferEvery == kOfferEvery - 1;
        std::string text = offers ? GoodOffer(offer, dice) : GoodAnswer(offer, dice);
        if (!isGood) text = Mutated(text, offer, dice);
        Remember(text);
        Set(text, offers ? "offer" : "answer", isGood);
    }

private:
    // Lets the connection make its offer; one that has refused an answer waits for the next.
    bool Prepare() {
        if (call) return true;
        call = std::make_unique<Call>();
        if (!call->connection) return false;
        call->connection->CreateOffer();
        const auto made = call->record.WaitFor("offer");
        if (made) offer = made->text;
        return made.has_value();
    }

    void Set(const std::string& text, const char* type, bool isGood) {
        const std::size_t refusals = Refusals(*call);
        call->connection->SetRemoteDescription(text.c_str(), type);
        if (!WaitForWorker(*call)) {
            ++sharedTally->unanswered;
            call.reset();
            return;
        }
        const bool refused = Refusals(*call) > refusals;
        ++(refused ? sharedTally->refused : sharedTally->taken);
        if (refused && isGood) {
            ++sharedTally->goodOnesRefused;
            for (const Record::Entry& entry : call->record.All()) {
                if (entry.what == "failure") std::fprintf(stderr, "%s\n", entry.text.c_str());
            }
            std::fprintf(stderr, "good one refused: %llu\n",
                         static_cast<unsigned long long>(sharedTally->current));
        }
        if (std::string(type) == "offer") {
            // The engine was made anew for it.
            if (!refused) {
                call->connection->CreateAnswer();
                WaitForWorker(*call);
            }
            call.reset();
        } else if (!refused) {
            const bool stable = call->record.WaitUntil([](const std::vector<Record::Entry>& all) {
                return std::any_of(all.begin(), all.end(), [](const Record::Entry& entry) {
                    return entry.what == "signaling" && entry.text == std::to_string(kStable);
                });
            });
            if (!stable) ++sharedTally->notSet;
            call.reset();
        }
    }

    // A phone answers, and sends.
    void TryLive(Dice& dice) {
        Call live;
        live.onPhoneDescription = [&live, &dice](const std::string& sdp) {
            const std::string text = MutatedMedia(sdp, dice);
            Remember(text);
            live.connection->SetRemoteDescription(text.c_str(), "answer");
            live.record.Add("set");
        };
        live.Connect();
        const bool set = live.record.WaitFor("set").has_value() && WaitForWorker(live);
        const bool refused = Refusals(live) > 0;
        if (!set) {
            ++sharedTally->unanswered;
        } else {
            ++(refused ? sharedTally->refused : sharedTally->taken);
        }
        if (set && !refused && live.record.Count("stream") > 0 && ShowsPictures(*live.WaitForStream()))
            ++sharedTally->withPictures;
    }

    const std::uint64_t seed;
    std::unique_ptr<Call> call;
    std::string offer;
};

}  // namespace

void RunTrials(std::uint64_t seed, std::uint64_t end, Tally& tally) {
    sharedTally = &tally;
    g_log_set_writer_func(CountCriticals, nullptr, nullptr);
    Bench bench(seed);
    for (; tally.current < end; ++tally.current)
        bench.Try(tally.current);
}

}  // namespace sdpabort
