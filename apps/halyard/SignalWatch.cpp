#include "apps/halyard/SignalWatch.h"

#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <utility>

#include "apps/halyard/TerminalMode.h"

namespace halyard {
namespace {

constexpr int kExitAfterSignal = 128;  // as shells count

sigset_t Watched() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&set, number);
    return set;
}

}  // namespace

void SignalWatch::Block() {
    const sigset_t set = Watched();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    // A reader that went away, or a file that may not grow, is an error of the write and not the end.
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
}

SignalWatch::SignalWatch(std::function<void()> action) : onFirstSignal(std::move(action)) {
    const sigset_t set = Watched();
    signals = signalfd(-1, &set, SFD_CLOEXEC);
    endRequest = eventfd(0, EFD_CLOEXEC);
    thread = std::thread([this] { Watch(); });
}

SignalWatch::~SignalWatch() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(endRequest, &one, sizeof one);
    thread.join();
    close(endRequest);
    close(signals);
}

void SignalWatch::Watch() {
    pthread_setname_np(pthread_self(), "signals");
    bool asked = false;
    while (true) {
        std::array<pollfd, 2> watched{{{signals, POLLIN, 0}, {endRequest, POLLIN, 0}}};
        if (poll(watched.data(), watched.size(), -1) < 0) continue;
        if (watched[1].revents != 0) return;
        signalfd_siginfo information{};
        if (read(signals, &information, sizeof information) != sizeof information) continue;
        if (asked) {
            TerminalMode::RestoreNow();
            _exit(kExitAfterSignal + static_cast<int>(information.ssi_signo));
        }
        asked = true;
        onFirstSignal();
    }
}

}  // namespace halyard
