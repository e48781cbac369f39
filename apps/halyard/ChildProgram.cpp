#include "apps/halyard/ChildProgram.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "host/core/zThread.h"

namespace halyard {
namespace {

constexpr int kCannotRun = 127;  // as shells say it

struct Pipe {
    Pipe() {
        if (pipe2(ends.data(), O_CLOEXEC) != 0) ends = {-1, -1};
    }
    ~Pipe() {
        Close(0);
        Close(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    void Close(std::size_t end) {
        if (ends[end] >= 0) close(ends[end]);
        ends[end] = -1;
    }
    int Take(std::size_t end) { return std::exchange(ends[end], -1); }

    std::array<int, 2> ends{-1, -1};  // for reading, for writing
};

// In the child: only calls that are safe after the fork of a process with threads.
[[noreturn]] void Become(const char* program, char* const* words, pid_t parent, int output, int errors,
                         int failure) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) _exit(0);
    // What the operator's terminal sends to a program in front is for the parent, who then ends this one.
    setpgid(0, 0);
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
    signal(SIGPIPE, SIG_DFL);
    signal(SIGXFSZ, SIG_DFL);
    const int nothing = open("/dev/null", O_RDONLY);
    dup2(nothing, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    // Whatever a library of this process has left open is not the child's.
    syscall(SYS_close_range, STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    execv(program, words);
    const int reason = errno;
    [[maybe_unused]] const ssize_t written = write(failure, &reason, sizeof reason);
    _exit(kCannotRun);
}

std::string Described(int status) {
    if (WIFEXITED(status)) return "exit code " + std::to_string(WEXITSTATUS(status));
    const char* const name = sigabbrev_np(WTERMSIG(status));
    return name != nullptr ? std::string("SIG") + name : "signal " + std::to_string(WTERMSIG(status));
}

}  // namespace

std::unique_ptr<ChildProgram> ChildProgram::Start(const std::filesystem::path& program,
                                                  const std::vector<std::string>& arguments, Listener toTell,
                                                  std::string& error, std::chrono::milliseconds patience) {
    std::unique_ptr<ChildProgram> child(new ChildProgram(std::move(toTell), patience));
    return child->Run(program, arguments, error) ? std::move(child) : nullptr;
}

ChildProgram::ChildProgram(Listener toTell, std::chrono::milliseconds toWait)
    : listener(std::move(toTell)), patience(toWait), lifetime(std::make_shared<zObject>()) {}

ChildProgram::~ChildProgram() {
    lifetime.reset();
    for (Stream* stream : {&output, &errors, &process})
        stream->reader.reset();
    if (processId > 0) {
        kill(processId, SIGTERM);
        pollfd watched{process.descriptor, POLLIN, 0};
        if (poll(&watched, 1, static_cast<int>(patience.count())) != 1) kill(processId, SIGKILL);
        waitpid(processId, nullptr, 0);
    }
    for (const Stream* stream : {&output, &errors, &process})
        if (stream->descriptor >= 0) close(stream->descriptor);
}

bool ChildProgram::Run(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                       std::string& error) {
    std::vector<std::string> texts = arguments;
    texts.insert(texts.begin(), program.string());
    std::vector<char*> words;
    for (std::string& text : texts)
        words.push_back(text.data());
    words.push_back(nullptr);
    Pipe outputPipe;
    Pipe errorsPipe;
    Pipe failure;
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) {
        Become(words.front(), words.data(), parent, outputPipe.ends[1], errorsPipe.ends[1], failure.ends[1]);
    }
    int reason = errno;
    outputPipe.Close(1);
    errorsPipe.Close(1);
    failure.Close(1);
    // Closed by the program's start.
    const bool failed = child < 0 || read(failure.ends[0], &reason, sizeof reason) == sizeof reason;
    if (failed) {
        if (child > 0) waitpid(child, nullptr, 0);
        error = std::generic_category().message(reason);
        return false;
    }
    processId = child;
    output.descriptor = outputPipe.Take(0);
    errors.descriptor = errorsPipe.Take(0);
    process.descriptor = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
    Read(output, listener.onOutput);
    Read(errors, listener.onErrors);
    Read(process, {});  // nothing can be read from it: it is at its end when the process is
    return true;
}

void ChildProgram::Read(Stream& stream, std::function<void(const std::string&)> onLine) {
    stream.reader = std::make_unique<InputReader>(
        stream.descriptor, [this, &stream, onLine = std::move(onLine),
                            token = std::weak_ptr<zObject>(lifetime)](std::string piece) {
            zThread::ExecuteOnMainThread(
                token.lock(), 0, {},
                [this, &stream, onLine, piece = std::move(piece)] { OnPiece(stream, piece, onLine); });
        });
}

void ChildProgram::OnPiece(Stream& stream, const std::string& piece,
                           const std::function<void(const std::string&)>& onLine) {
    for (const std::string& line : piece.empty() ? stream.splitter.Finish() : stream.splitter.Feed(piece))
        if (onLine) onLine(line);
    if (!piece.empty()) {
        stream.reader->ReadOn();
        return;
    }
    stream.ended = true;
    if (!output.ended || !errors.ended || !process.ended) return;
    int status = 0;
    waitpid(std::exchange(processId, -1), &status, 0);
    if (listener.onEnd) listener.onEnd(Described(status));
}

}  // namespace halyard
