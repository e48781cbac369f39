#include "tests/unit/session/FailingLogs.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <stdexcept>

#include "host/core/zFourCC.h"
#include "host/core/zString.h"

namespace tests {
namespace {

std::string failing;
LogFailure kind = LogFailure::RuntimeError;
std::vector<std::string> written;

void WriteOrFail(const std::string& text, const std::string& line) {
    if (failing.empty() || !text.starts_with(failing)) {
        written.push_back(line);
        return;
    }
    switch (kind) {
        case LogFailure::RuntimeError:
            throw std::runtime_error("no {} room %s");
        case LogFailure::LogicError:
            throw std::logic_error("never shown");
        case LogFailure::Number:
            throw 5;
    }
}

}  // namespace

void FailLinesThatBegin(const std::string& beginning, LogFailure failure) {
    failing = beginning;
    kind = failure;
    written.clear();
}

const std::vector<std::string>& WrittenLines() {
    return written;
}

}  // namespace tests

// The linker gives calls of zTraceManager::TraceMessage and zUserLogHistory::Add to these (--wrap).
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" void __wrap__ZN13zTraceManager12TraceMessageEjPKcz(void*, zFourCC, const char* format, ...) {
    std::array<char, 4096> text{};
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    tests::WriteOrFail(text.data(), text.data());
}

extern "C" void __wrap__ZN15zUserLogHistory3AddEiRK7zString(void*, int level, const zString& text) {
    tests::WriteOrFail(text.ToStdString(), "log " + std::to_string(level) + " " + text.ToStdString());
}
// NOLINTEND(bugprone-reserved-identifier)
