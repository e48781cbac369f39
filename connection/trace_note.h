// Lines for the host trace and entries for the host's user log, with "{}" placeholders.
#pragma once

#include <fmt/core.h>

#include <functional>

namespace trace_note_detail {
void Trace(fmt::string_view format, fmt::format_args arguments) noexcept;
void TraceGuarded(const std::function<void()>& write) noexcept;
void Log(int level, fmt::string_view format, fmt::format_args arguments) noexcept;
}  // namespace trace_note_detail

// [any-thread] Writes one line of the kind "note". The caller ends it with a line feed; foreign text is
// always an argument. A failure is traced in place of the line and never leaves the call.
template <class... Arguments>
void TraceNote(fmt::string_view format, const Arguments&... arguments) noexcept {
    trace_note_detail::Trace(format, fmt::make_format_args(arguments...));
}

// [any-thread] For a line that follows other rules of formatting: runs `write`, which traces it. Failures as
// above.
inline void TraceGuarded(const std::function<void()>& write) noexcept {
    trace_note_detail::TraceGuarded(write);
}

// [any-thread] Adds one entry; `level` is a level of zUserLogHistory. Failures end up in the trace as above.
template <class... Arguments>
void UserLog(int level, fmt::string_view format, const Arguments&... arguments) noexcept {
    trace_note_detail::Log(level, format, fmt::make_format_args(arguments...));
}
