// The server that makes phones of browsers, run by this program: what it says reaches the operator, and the
// phones whose page is open reach discovery. Whatever becomes of the server, this program goes on.
// [main-thread] throughout.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "apps/halyard/ChildProgram.h"
#include "apps/halyard/Options.h"
#include "apps/halyard/PhonesEvents.h"
#include "apps/halyard/ServedPhones.h"

namespace halyard {

// What stands before each line of the server's, so that it can be told from the progress.
inline constexpr const char* kPhonesMark = "phones: ";

// The arguments of `petrel`.
std::vector<std::string> ServeArguments(const PhonesOptions& options);

class PhonesServer {
public:
    // Both take whole lines that begin with kPhonesMark, except for the rows of a picture.
    struct Outputs {
        std::function<void(const std::string& text)> tell;
        std::function<void(const std::string& text)> complain;
        bool isTerminal = false;  // where `tell` leads
    };

    PhonesServer(std::shared_ptr<ServedPhones> toTell, Outputs toWriteTo);
    PhonesServer(const PhonesServer&) = delete;
    PhonesServer& operator=(const PhonesServer&) = delete;

    // False after a complaint when there is no server that can be run.
    bool Start(const std::filesystem::path& program, const PhonesOptions& options);

    // What Start() lets the server's lines do.
    void OnOutput(const std::string& line);
    void OnErrors(const std::string& line) const;
    void OnEnd(const std::string& how) const;

private:
    void Handle(const std::monostate&) const {}
    void Handle(const ServerReady& ready) const;
    void Handle(const CodeShown& shown) const;
    void Handle(const PhoneOpened& opened) const;
    void Handle(const PhoneClosed& closed) const;
    void Handle(const ServerFailed& failed);

    const std::shared_ptr<ServedPhones> phones;
    const Outputs outputs;
    bool hasFailed = false;  // and said so
    std::unique_ptr<ChildProgram> child;
};

}  // namespace halyard
