// Runs the browser phone as a child process and keeps what it tells.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/annotated_mutex.h"

namespace browser {

// One line of the child; fields that it does not carry stay empty.
struct PhoneEvent {
    std::string name;  // "camera", "listening", "opened", "joined", "state", "sending", "tally", "trouble"...
    std::string text;  // the whole line
    std::string state;
    std::string codec;
    std::string encoder;
    bool value = false;
};

struct BrowserPhoneOptions {
    std::string address;
    std::string cameraFile;
    std::string microphoneFile;
    std::string codec;           // empty leaves the choice to the browser
    bool onlyThatCodec = false;  // its answer names no other
};

class BrowserPhone {
public:
    using Predicate = std::function<bool(const PhoneEvent&)>;

    explicit BrowserPhone(const BrowserPhoneOptions& options);
    ~BrowserPhone();  // ends the child and waits for it
    BrowserPhone(const BrowserPhone&) = delete;
    BrowserPhone& operator=(const BrowserPhone&) = delete;

    // Waits until an event fits; false when the time is over, or when the child has ended without one.
    bool WaitFor(const Predicate& fits, std::chrono::seconds limit);
    bool WaitFor(const std::string& name, std::chrono::seconds limit);

    // Takes the camera away from the connections that stand.
    void Freeze();

    std::size_t Count(const std::string& name) const;  // events so far
    // The newest event of a name; empty when there was none.
    PhoneEvent Latest(const std::string& name) const;
    std::string Transcript() const;  // all lines so far

private:
    void ReadLines();

    pid_t child = -1;
    int childInput = -1;
    int childOutput = -1;
    std::thread reader;
    mutable support::Mutex mutex;
    support::Condition changed;
    std::vector<PhoneEvent> events GUARDED_BY(mutex);
    bool ended GUARDED_BY(mutex) = false;
};

}  // namespace browser
