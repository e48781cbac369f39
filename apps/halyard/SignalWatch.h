// SIGINT, SIGTERM and SIGHUP as an ordinary call on an ordinary thread.
#pragma once

#include <functional>
#include <thread>

namespace halyard {

class SignalWatch {
public:
    // Before the first thread starts: threads inherit what is blocked.
    static void Block();

    // `action` runs once, on a thread of its own, with the first signal. A second signal ends the process at
    // once, for the operator who does not want to wait.
    explicit SignalWatch(std::function<void()> action);
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;
    ~SignalWatch();

private:
    void Watch();

    const std::function<void()> onFirstSignal;
    int signals = -1;
    int endRequest = -1;
    std::thread thread;
};

}  // namespace halyard
