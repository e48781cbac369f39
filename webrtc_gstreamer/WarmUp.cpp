// What the first peer connection of a process would otherwise wait for is prepared when the library is
// loaded: a host loads its plug-ins long before its operator turns to a phone.
#include <openssl/crypto.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <utility>

#include "support/annotated_mutex.h"
#include "support/scope_guard.h"
#include "webrtc_gstreamer/Engine.h"
#include "webrtc_gstreamer/LibraryThread.h"

namespace webrtc_gstreamer {
namespace {

// It only computes and reads files, so that it ends by itself; this is for a machine that hardly runs.
constexpr auto kLongestExit = std::chrono::seconds(60);

// Outlives every static object, since the process' exit waits for it.
struct WarmUp {
    support::Mutex mutex;
    support::Condition changed;
    int running GUARDED_BY(mutex) = 0;

    void Change(int by) {
        const support::MutexLock lock(mutex);
        running += by;
        changed.NotifyAll();
    }
    void AwaitEnd() {
        const auto deadline = std::chrono::steady_clock::now() + kLongestExit;
        const support::MutexLock lock(mutex);
        while (running > 0) {
            if (!changed.WaitUntil(mutex, deadline)) return;
        }
    }
    void Start(const char* name, std::function<void()> run) {
        Change(1);
        const bool started = StartLibraryThread(name, [this, run = std::move(run)] {
            const support::ScopeGuard finish([this] { Change(-1); });
            run();
        });
        if (!started) Change(-1);
    }
};

WarmUp& TheWarmUp() {
    static WarmUp& warmUp = *new WarmUp;
    return warmUp;
}

bool Begin() {
    // OpenSSL must not clean up under a thread that makes a key: what is registered later runs earlier.
    OPENSSL_init_crypto(0, nullptr);
    if (std::atexit([] { TheWarmUp().AwaitEnd(); }) != 0) return false;
    TheWarmUp().Start("vo-warm-up", [] {
        if (!EnsureEngine()) return;
        // At the same time, since the key takes longer than all the rest.
        TheWarmUp().Start("vo-load", LoadElements);
        MakeKey();
    });
    return true;
}

[[maybe_unused]] const bool begun = Begin();

}  // namespace
}  // namespace webrtc_gstreamer
