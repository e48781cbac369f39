// What really happened: a stress test that leaves out a kind of action proves nothing about it.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

namespace stress {

enum class Action : std::uint8_t {
    // On the main thread, as the host.
    SourceAdded,
    SourceDiscovered,
    SourceRemoved,
    DiscoveredSourceLost,
    SourceActivatedAgain,
    AddressChanged,
    SessionStopped,
    SessionStarted,
    RenderersAskedAgain,
    RendererAskedLate,
    TallyOfAllChanged,
    TallyOfOneChanged,
    StatisticsAsked,
    AddressCompared,
    ListenerAdded,
    ListenerRemoved,
    PanelOpened,
    PanelUsed,
    PanelClosed,
    ServiceSessionStarted,
    ServiceSessionStopped,
    ServiceSessionDestroyed,
    LoggingSwitched,
    FactoryReplaced,
    // What the plug-in told the host.
    StatisticsWhileConnected,
    StatisticsWhileDisconnected,
    SourceWithdrawn,
    JoinAnswered,
    ReconnectionBegan,
    ReconnectionEnded,
    ChatReceived,
    // On any thread.
    PictureMuted,
    SoundMuted,
    SoundEnabled,
    FormatAsked,
    SettingsApplied,
    // On the render threads.
    ReceivedPicturePulled,
    BlackPicturePulled,
    AudibleBlockPulled,
    SilentBlockPulled,
    // On the network thread.
    SocketOpened,
    SocketFailed,
    SocketFailedForGood,
    SocketLost,
    SocketClosedByPhone,
    SocketOpenedAgain,
    KeptAlive,
    PhoneJoined,
    PhoneJoinedAgain,
    PhoneLeft,
    PhoneRefusedJoin,
    NonsenseSent,
    OfferHeard,
    AnswerHeard,
    CandidateHeard,
    TallyHeard,
    // On the library's threads.
    OfferMade,
    AnswerMade,
    CandidateMade,
    StateReported,
    FailureReported,
    StreamAdded,
    StreamRemoved,
    StatisticsDelivered,
    PictureDelivered,
    SoundDelivered,
    LogLineWritten,
    Count_
};

class ActionCounts {
public:
    void Add(Action action) { Counter(action).fetch_add(1, std::memory_order_relaxed); }
    std::uint64_t Of(Action action) const { return Counter(action).load(std::memory_order_relaxed); }

    // Those that never happened, by name.
    std::vector<std::string> Missing() const;
    // One line each.
    std::string Table() const;

private:
    static constexpr auto kCount = static_cast<std::size_t>(Action::Count_);
    using Counters = std::array<std::atomic<std::uint64_t>, kCount>;

    std::atomic<std::uint64_t>& Counter(Action action) { return counters[static_cast<std::size_t>(action)]; }
    const std::atomic<std::uint64_t>& Counter(Action action) const {
        return counters[static_cast<std::size_t>(action)];
    }

    Counters counters{};
};

}  // namespace stress
