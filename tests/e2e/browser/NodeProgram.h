// A program in node as a child process: what it tells on its standard output, an object of JSON a line, is
// kept.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
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
    double atMs = 0;  // when it happened, by the calendar
};

class NodeProgram {
public:
    using Predicate = std::function<bool(const PhoneEvent&)>;

    // The script and its arguments.
    explicit NodeProgram(const std::vector<std::string>& words);
    ~NodeProgram();  // ends the child and waits for it
    NodeProgram(const NodeProgram&) = delete;
    NodeProgram& operator=(const NodeProgram&) = delete;

    // Waits until an event fits; false when the time is over, or when the child has ended without one. The
    // first `after` events are not looked at.
    bool WaitFor(const Predicate& fits, std::chrono::seconds limit, std::size_t after = 0);
    bool WaitFor(const std::string& name, std::chrono::seconds limit);

    void Write(const std::string& line);  // to its standard input

    std::size_t Count() const;                         // all events so far
    std::size_t Count(const std::string& name) const;  // those of a name
    // The newest event of a name; empty when there was none.
    PhoneEvent Latest(const std::string& name) const;
    std::vector<PhoneEvent> Events() const;
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
