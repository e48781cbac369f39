// What the first peer connection of a process would otherwise wait for is prepared when the library is
// loaded: a host loads its plug-ins long before its operator turns to a phone.
#include <openssl/crypto.h>

#include <functional>
#include <utility>

#include "support/scope_guard.h"
#include "webrtc_gstreamer/Engine.h"
#include "webrtc_gstreamer/LibraryThread.h"

namespace webrtc_gstreamer {
namespace {

// The process' normal exit waits for what is run.
bool StartAwaitedThread(const char* name, std::function<void()> run) {
    BeginEnding();
    const bool started = StartLibraryThread(name, [run = std::move(run)] {
        const support::ScopeGuard finish([] { FinishEnding(); });
        run();
    });
    if (!started) FinishEnding();
    return started;
}

bool BeginWarmUp() {
    // OpenSSL cleans up at exit, which must come after the waiting: what is registered first runs last.
    OPENSSL_init_crypto(0, nullptr);
    return StartAwaitedThread("vo-warm-up", [] {
        if (!EnsureEngine()) return;
        // At the same time, since the key takes longer than all the rest.
        StartAwaitedThread("vo-load", LoadElements);
        MakeKey();
    });
}

[[maybe_unused]] const bool warmUpBegun = BeginWarmUp();

}  // namespace
}  // namespace webrtc_gstreamer
