#include "tests/e2e/host/ChildProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace e2e {
namespace {

std::vector<char*> Pointers(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (const std::string& text : texts)
        pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> Environment(const std::vector<std::string>& added) {
    std::vector<std::string> all = added;  // the first of two equal names counts
    for (char** variable = environ; *variable != nullptr; ++variable)
        all.emplace_back(*variable);
    return all;
}

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments,
                           const std::vector<std::string>& environment, Input input) {
    int inputEnds[2];
    int outputEnds[2];
    int errorEnds[2];
    EXPECT_EQ(pipe2(inputEnds, O_CLOEXEC), 0);
    EXPECT_EQ(pipe2(outputEnds, O_CLOEXEC), 0);
    EXPECT_EQ(pipe2(errorEnds, O_CLOEXEC), 0);
    std::vector<std::string> words = arguments;
    words.insert(words.begin(), program);
    const std::vector<std::string> variables = Environment(environment);
    const std::vector<char*> wordPointers = Pointers(words);
    const std::vector<char*> variablePointers = Pointers(variables);

    processId = fork();
    if (processId == 0) {
        // Only calls that are safe after the fork of a process with threads.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(input == Input::Pipe ? inputEnds[0] : open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
        if (input == Input::Closed) close(STDIN_FILENO);
        dup2(outputEnds[1], STDOUT_FILENO);
        dup2(errorEnds[1], STDERR_FILENO);
        execve(program.c_str(), wordPointers.data(), variablePointers.data());
        _exit(127);
    }
    EXPECT_GT(processId, 0);
    inputEnd = inputEnds[1];
    close(inputEnds[0]);
    if (input != Input::Pipe) EndInput();
    close(outputEnds[1]);
    close(errorEnds[1]);
    readers[kOutput] = std::thread([this, descriptor = outputEnds[0]] { Read(kOutput, descriptor); });
    readers[kErrors] = std::thread([this, descriptor = errorEnds[0]] { Read(kErrors, descriptor); });
}

ChildProcess::~ChildProcess() {
    if (!exitCode && processId > 0) {
        kill(processId, SIGKILL);
        WaitForEnd(std::chrono::seconds(20));
    }
    for (std::thread& reader : readers) {
        if (reader.joinable()) reader.join();
    }
    EndInput();
}

void ChildProcess::Signal(int number) const {
    kill(processId, number);
}

void ChildProcess::Write(const std::string& text) const {
    EXPECT_EQ(write(inputEnd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

void ChildProcess::EndInput() {
    if (inputEnd >= 0) close(inputEnd);
    inputEnd = -1;
}

void ChildProcess::Read(Stream stream, int descriptor) {
    char part[4096];
    ssize_t count = 0;
    while ((count = read(descriptor, part, sizeof part)) > 0) {
        const support::MutexLock lock(mutex);
        texts[stream].append(part, static_cast<std::size_t>(count));
        changed.NotifyAll();
    }
    close(descriptor);
    const support::MutexLock lock(mutex);
    ended[stream] = true;
    changed.NotifyAll();
}

bool ChildProcess::WaitForOutput(const std::string& text, std::chrono::seconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    const support::MutexLock lock(mutex);
    const auto isIn = [&text](const std::string& written) { return written.find(text) != std::string::npos; };
    while (!isIn(texts[kOutput]) && !isIn(texts[kErrors])) {
        if ((ended[kOutput] && ended[kErrors]) || !changed.WaitUntil(mutex, deadline)) return false;
    }
    return true;
}

bool ChildProcess::WaitUntilOutput(const std::function<bool(const std::string& output)>& satisfies,
                                   std::chrono::seconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    const support::MutexLock lock(mutex);
    while (!satisfies(texts[kOutput])) {
        if (ended[kOutput] || !changed.WaitUntil(mutex, deadline)) return false;
    }
    return true;
}

std::optional<int> ChildProcess::WaitForEnd(std::chrono::seconds limit) {
    if (exitCode || processId <= 0) return exitCode;
    const int descriptor = static_cast<int>(syscall(SYS_pidfd_open, processId, 0));
    pollfd watched{descriptor, POLLIN, 0};
    const auto limitMs = std::chrono::duration_cast<std::chrono::milliseconds>(limit).count();
    const int ready = poll(&watched, 1, static_cast<int>(limitMs));
    close(descriptor);
    if (ready != 1) return std::nullopt;
    int status = 0;
    waitpid(processId, &status, 0);
    exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    // A grandchild that kept the pipes open would show here as a test that never ends.
    for (std::thread& reader : readers) {
        if (reader.joinable()) reader.join();
    }
    return exitCode;
}

std::string ChildProcess::Output() const {
    const support::MutexLock lock(mutex);
    return texts[kOutput];
}

std::string ChildProcess::Errors() const {
    const support::MutexLock lock(mutex);
    return texts[kErrors];
}

}  // namespace e2e
