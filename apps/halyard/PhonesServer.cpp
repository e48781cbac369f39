#include "apps/halyard/PhonesServer.h"

#include <utility>

#include "host_runtime/core/Printable.h"

namespace halyard {
namespace {

std::string Clean(const std::string& text) {
    return host_runtime::Printable(text, host_runtime::LineFeeds::Replace);
}

std::string Line(const std::string& text) {
    return kPhonesMark + text + "\n";
}

}  // namespace

std::vector<std::string> ServeArguments(const PhonesOptions& options) {
    std::vector<std::string> arguments = {"serve", "--events", "--quiet"};
    const auto add = [&arguments](const char* name, const std::string& value) {
        if (!value.empty()) arguments.push_back(name + ("=" + value));
    };
    add("--port", options.port);
    add("--name", options.name);
    add("--bind", options.bind);
    return arguments;
}

PhonesServer::PhonesServer(std::shared_ptr<ServedPhones> toTell, Outputs toWriteTo)
    : phones(std::move(toTell)), outputs(std::move(toWriteTo)) {}

bool PhonesServer::Start(const std::filesystem::path& program, const PhonesOptions& options) {
    ChildProgram::Listener listener;
    listener.onOutput = [this](const std::string& line) { OnOutput(line); };
    listener.onErrors = [this](const std::string& line) { OnErrors(line); };
    listener.onEnd = [this](const std::string& how) { OnEnd(how); };
    std::string error;
    child = ChildProgram::Start(program, ServeArguments(options), std::move(listener), error);
    if (!child)
        outputs.complain(
            Line("The server cannot start: " + Clean(program.string()) + " cannot be run (" + error + ")."));
    return child != nullptr;
}

void PhonesServer::OnOutput(const std::string& line) {
    std::visit([this](const auto& event) { Handle(event); }, ReadPhonesEvent(line));
}

void PhonesServer::OnErrors(const std::string& line) const {
    outputs.complain(Line(Clean(line)));
}

void PhonesServer::OnEnd(const std::string& how) const {
    if (hasFailed) return;
    outputs.complain(Line("The server has ended (" + how + "): no phone can be added until the next start."));
}

void PhonesServer::Handle(const ServerReady& ready) const {
    std::string text;
    for (const std::string& url : ready.urls)
        text += Line("Phones open this page: " + Clean(url));
    text += Line("Operator's page: " + Clean(ready.operatorPage));
    if (!ready.fingerprint.empty())
        text += Line("Fingerprint of this machine's authority (SHA-256): " + Clean(ready.fingerprint));
    outputs.tell(text);
}

// The picture is the server's own and moves no cursor, so it goes out as it is.
void PhonesServer::Handle(const CodeShown& shown) const {
    outputs.tell(Line("Code for the next phone: " + Clean(shown.code) + "  " + Clean(shown.url)) +
                 (outputs.isTerminal ? shown.picture : std::string()));
}

void PhonesServer::Handle(const PhoneOpened& opened) const {
    outputs.tell(Line('"' + Clean(opened.phone.name) + "\" is open, at " + Clean(opened.phone.address)));
    phones->Opened(opened.phone);
}

void PhonesServer::Handle(const PhoneClosed& closed) const {
    const ServedPhone* const phone = phones->At(closed.address);
    if (phone == nullptr) return;
    outputs.tell(Line('"' + Clean(phone->name) + "\" is closed, at " + Clean(phone->address)));
    phones->Closed(closed.address);
}

void PhonesServer::Handle(const ServerFailed& failed) {
    hasFailed = true;
    outputs.complain(Line("The server cannot start: " + Clean(failed.sentence)));
}

}  // namespace halyard
