// A program under test: its output is read while it runs, and it never outlives its owner.
#pragma once

#include <sys/types.h>

#include <array>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "support/annotated_mutex.h"

namespace e2e {

class ChildProcess {
public:
    enum class Input { Empty, Pipe, Closed };

    // `environment` holds NAME=VALUE texts that are added to the test's own.
    ChildProcess(const std::string& program, const std::vector<std::string>& arguments,
                 const std::vector<std::string>& environment = {}, Input input = Input::Empty);
    ~ChildProcess();  // kills it if it still runs
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t Id() const { return processId; }
    void Signal(int number) const;

    // To its standard input, which must be a pipe.
    void Write(const std::string& text) const;
    void EndInput();

    // Waits for a text in what the program has written so far; false when the time is over or it ended.
    bool WaitForOutput(const std::string& text, std::chrono::seconds limit);
    // Waits until what it has written to standard output satisfies a condition.
    bool WaitUntilOutput(const std::function<bool(const std::string& output)>& satisfies,
                         std::chrono::seconds limit);
    // The exit code, or 128 and the signal that ended it; nothing when the time is over first.
    std::optional<int> WaitForEnd(std::chrono::seconds limit);

    // What it wrote; complete after its end.
    std::string Output() const;  // standard output
    std::string Errors() const;  // standard error

private:
    enum Stream { kOutput, kErrors };

    void Read(Stream stream, int descriptor) EXCLUDES(mutex);

    pid_t processId = -1;
    int inputEnd = -1;
    std::optional<int> exitCode;
    mutable support::Mutex mutex;
    support::Condition changed;
    std::array<std::string, 2> texts GUARDED_BY(mutex);
    std::array<bool, 2> ended GUARDED_BY(mutex) = {false, false};
    std::array<std::thread, 2> readers;
};

}  // namespace e2e
