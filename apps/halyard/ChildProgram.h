// Another program that runs inside this one: what it writes comes line by line, and it ends when this program
// does, whatever ends that. [main-thread] throughout.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "apps/halyard/InputReader.h"
#include "apps/halyard/LineSplitter.h"
#include "host/core/zObject.h"

namespace halyard {

class ChildProgram {
public:
    static constexpr std::size_t kLongestLine = std::size_t{64} << 10;
    // How long it has to end by itself once it was asked to.
    static constexpr std::chrono::seconds kPatience{5};

    // Called on the main thread, and not any more once the owner lets go.
    struct Listener {
        std::function<void(const std::string& line)> onOutput;
        std::function<void(const std::string& line)> onErrors;
        // After the last line; `how` is a few words.
        std::function<void(const std::string& how)> onEnd;
    };

    // Null with a few words in `error` when it cannot be run. The kernel ends it together with the thread
    // that calls this, which therefore has to live as long as the process.
    static std::unique_ptr<ChildProgram> Start(const std::filesystem::path& program,
                                               const std::vector<std::string>& arguments, Listener toTell,
                                               std::string& error,
                                               std::chrono::milliseconds patience = kPatience);
    // Asks it to end and waits for that.
    ~ChildProgram();
    ChildProgram(const ChildProgram&) = delete;
    ChildProgram& operator=(const ChildProgram&) = delete;

    pid_t Id() const { return processId; }

private:
    struct Stream {
        int descriptor = -1;
        LineSplitter splitter{kLongestLine};
        bool ended = false;
        std::unique_ptr<InputReader> reader;
    };

    ChildProgram(Listener toTell, std::chrono::milliseconds toWait);

    bool Run(const std::filesystem::path& program, const std::vector<std::string>& arguments,
             std::string& error);
    void Read(Stream& stream, std::function<void(const std::string&)> onLine);
    void OnPiece(Stream& stream, const std::string& piece,
                 const std::function<void(const std::string&)>& onLine);

    const Listener listener;
    const std::chrono::milliseconds patience;
    std::shared_ptr<zObject> lifetime;  // cancels the jobs of this object
    pid_t processId = -1;
    Stream output;
    Stream errors;
    Stream process;  // its end is the process's
};

}  // namespace halyard
