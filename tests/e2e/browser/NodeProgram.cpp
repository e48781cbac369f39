#include "tests/e2e/browser/NodeProgram.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace browser {
namespace {

PhoneEvent ParseLine(const std::string& line) {
    PhoneEvent event;
    event.text = line;
    const auto object = nlohmann::json::parse(line, nullptr, false);
    if (!object.is_object()) return event;
    const auto text = [&object](const char* key) {
        const auto found = object.find(key);
        return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
    };
    event.name = text("event");
    event.state = text("state");
    event.codec = text("codec");
    event.encoder = text("encoder");
    const auto value = object.find("value");
    event.value = value != object.end() && value->is_boolean() && value->get<bool>();
    const auto at = object.find("atMs");
    if (at != object.end() && at->is_number()) event.atMs = at->get<double>();
    return event;
}

// Starts node with pipes on its standard input and output; -1 when that fails.
pid_t Spawn(std::vector<std::string> arguments, int input, int output) {
    std::vector<char*> raw;
    for (std::string& argument : arguments)
        raw.push_back(argument.data());
    raw.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    pid_t child = -1;
    if (posix_spawnp(&child, raw[0], &actions, nullptr, raw.data(), environ) != 0) child = -1;
    posix_spawn_file_actions_destroy(&actions);
    return child;
}

}  // namespace

NodeProgram::NodeProgram(const std::vector<std::string>& words) {
    int input[2] = {-1, -1};
    int output[2] = {-1, -1};
    if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) {
        std::perror("pipe2");
        std::abort();
    }
    std::vector<std::string> arguments = words;
    arguments.insert(arguments.begin(), "node");
    child = Spawn(std::move(arguments), input[0], output[1]);
    close(input[0]);
    close(output[1]);
    childInput = input[1];
    childOutput = output[0];
    reader = std::thread([this] { ReadLines(); });
}

// The end of its input ends the child, also when this process dies.
NodeProgram::~NodeProgram() {
    close(childInput);
    reader.join();
    close(childOutput);
    if (child > 0) waitpid(child, nullptr, 0);
}

void NodeProgram::Write(const std::string& line) {
    const std::string text = line + "\n";
    if (write(childInput, text.data(), text.size()) < 0) std::perror("write");
}

std::size_t NodeProgram::Count() const {
    const support::MutexLock lock(mutex);
    return events.size();
}

std::size_t NodeProgram::Count(const std::string& name) const {
    const support::MutexLock lock(mutex);
    return static_cast<std::size_t>(std::count_if(
        events.begin(), events.end(), [&name](const PhoneEvent& event) { return event.name == name; }));
}

void NodeProgram::ReadLines() {
    std::string pending;
    char buffer[4096];
    ssize_t count = 0;
    while ((count = read(childOutput, buffer, sizeof buffer)) > 0) {
        pending.append(buffer, static_cast<std::size_t>(count));
        for (std::size_t end = 0; (end = pending.find('\n')) != std::string::npos;
             pending.erase(0, end + 1)) {
            PhoneEvent event = ParseLine(pending.substr(0, end));
            const support::MutexLock lock(mutex);
            events.push_back(std::move(event));
            changed.NotifyAll();
        }
    }
    const support::MutexLock lock(mutex);
    ended = true;
    changed.NotifyAll();
}

bool NodeProgram::WaitFor(const Predicate& fits, std::chrono::seconds limit, std::size_t after) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    const support::MutexLock lock(mutex);
    std::size_t looked = after;
    bool isOver = false;
    while (true) {
        for (; looked < events.size(); ++looked)
            if (fits(events[looked])) return true;
        if (ended || isOver) return false;
        isOver = !changed.WaitUntil(mutex, deadline);
    }
}

bool NodeProgram::WaitFor(const std::string& name, std::chrono::seconds limit) {
    return WaitFor([&name](const PhoneEvent& event) { return event.name == name; }, limit);
}

PhoneEvent NodeProgram::Latest(const std::string& name) const {
    const support::MutexLock lock(mutex);
    const auto found = std::find_if(events.rbegin(), events.rend(),
                                    [&name](const PhoneEvent& event) { return event.name == name; });
    return found != events.rend() ? *found : PhoneEvent();
}

std::vector<PhoneEvent> NodeProgram::Events() const {
    const support::MutexLock lock(mutex);
    return events;
}

std::string NodeProgram::Transcript() const {
    const support::MutexLock lock(mutex);
    std::string all;
    for (const PhoneEvent& event : events)
        all += event.text + "\n";
    return all;
}

}  // namespace browser
