#include "connection/trace_note.h"

#include <fmt/format.h>

#include <stdexcept>
#include <string>

#include "host/core/zFourCC.h"
#include "host/core/zTraceManager.h"
#include "host/core/zUserLogHistory.h"

namespace trace_note_detail {
namespace {

constexpr zFourCC kNote = FourCC("note");

// Plain printf rules from here on: what failed may have been the formatting itself.
void TraceFailure(const char* who, const char* message) noexcept {
    try {
        zTraceManager::Default()->TraceMessage(kNote, "%s '%s'\n", who, message);
    } catch (...) {  // nothing is left to tell it to
    }
}

void TraceUnknownFailure(const char* who) noexcept {
    try {
        zTraceManager::Default()->TraceMessage(kNote, "%s Unknown Assertion\n", who);
    } catch (...) {
    }
}

template <class Write>
void Guard(const char* onError, const char* onAnythingElse, const Write& write) noexcept {
    try {
        write();
    } catch (const std::runtime_error& error) {
        TraceFailure(onError, error.what());
    } catch (...) {
        TraceUnknownFailure(onAnythingElse);
    }
}

}  // namespace

void Trace(fmt::string_view format, fmt::format_args arguments) noexcept {
    TraceGuarded([&] {
        const std::string text = fmt::vformat(format, arguments);
        zTraceManager::Default()->TraceMessage(kNote, "%s", text.c_str());
    });
}

void TraceGuarded(const std::function<void()>& write) noexcept {
    Guard("zTrace", "zTrace", write);
}

void Log(int level, fmt::string_view format, fmt::format_args arguments) noexcept {
    Guard("zUserLog Assert", "zUserLog", [&] {
        const std::string text = fmt::vformat(format, arguments);
        zUserLogHistory* const history = zUserLogHistory::Default();
        history->Add(level, zUserLogHistory::Convert(text.c_str()));
    });
}

}  // namespace trace_note_detail
