#include "host_runtime/core/TraceOutput.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <utility>

#include "host/core/zTraceManager.h"
#include "host_runtime/core/Printable.h"
#include "support/annotated_mutex.h"
#include "support/scope_guard.h"

namespace host_runtime {
namespace {

struct Output {
    support::Mutex mutex;
    TraceSink sink GUARDED_BY(mutex);
};

Output& TheOutput() {
    // Never destroyed: other threads may still trace while statics go.
    static auto& output = *new Output;
    return output;
}

thread_local bool insideSink = false;

// Foreign text must not steer the operator's terminal.
void WriteToStandardError(const std::string& text) {
    std::string line = Printable(text, LineFeeds::Keep);
    if (line.empty() || line.back() != '\n') line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

std::string Format(const char* format, std::va_list arguments) {
    std::array<char, 512> shortText{};
    std::va_list again;
    va_copy(again, arguments);
    const support::ScopeGuard endAgain([&again] { va_end(again); });
    const int length = std::vsnprintf(shortText.data(), shortText.size(), format, arguments);
    if (length < 0) return format;
    const auto size = static_cast<std::size_t>(length);
    if (size < shortText.size()) return std::string(shortText.data(), size);
    std::string text(size, '\0');
    std::vsnprintf(text.data(), size + 1, format, again);
    return text;
}

void Deliver(zFourCC kind, const std::string& text) {
    if (insideSink) {  // a sink that traces must not wait for itself
        WriteToStandardError(text);
        return;
    }
    Output& output = TheOutput();
    // Called under the lock, so that lines stay whole and in order.
    const support::MutexLock lock(output.mutex);
    if (!output.sink) {
        WriteToStandardError(text);
        return;
    }
    insideSink = true;
    const support::ScopeGuard leaveSink([] { insideSink = false; });
    try {
        output.sink(kind, text);
    } catch (...) {
        WriteToStandardError(text);
    }
}

}  // namespace

void SetTraceSink(TraceSink sink) {
    Output& output = TheOutput();
    const support::MutexLock lock(output.mutex);
    output.sink.swap(sink);
}

}  // namespace host_runtime

zTraceManager* zTraceManager::Default() {
    static zTraceManager manager;
    return &manager;
}

void zTraceManager::TraceMessage(zFourCC kind, const char* format, ...) {
    if (format == nullptr) return;
    std::va_list arguments;
    va_start(arguments, format);
    const std::string text = host_runtime::Format(format, arguments);
    va_end(arguments);
    host_runtime::Deliver(kind, text);
}
