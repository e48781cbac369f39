#include "webrtc_gstreamer/WarmUp.h"

#include <dlfcn.h>
#include <link.h>
#include <openssl/crypto.h>
#include <pthread.h>

#include <cstdlib>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "support/annotated_mutex.h"
#include "webrtc_gstreamer/Engine.h"

namespace webrtc_gstreamer {
namespace {

// Outlives every static object, since the process' exit waits for it.
struct WarmUp {
    support::Mutex mutex;
    std::thread key GUARDED_BY(mutex);
    std::thread load GUARDED_BY(mutex);
    bool begun GUARDED_BY(mutex) = false;
};

WarmUp& TheWarmUp() {
    static WarmUp& warmUp = *new WarmUp;
    return warmUp;
}

template <class Work>
std::thread StartNamed(const char* name, Work work) {
    try {
        return std::thread([name, work] {
            pthread_setname_np(pthread_self(), name);
            work();
        });
    } catch (const std::system_error&) {
        return {};  // what is not prepared is made when it is needed
    }
}

// A program that names this library among those that it needs has it loaded before its own start, and what is
// registered for the exit then runs only when the loader has already taken the libraries down: too late to
// wait for a thread that loads some.
bool LoadedWithTheProgram() {
    Dl_info own{};
    if (dladdr(reinterpret_cast<const void*>(&LoadedWithTheProgram), &own) == 0) return true;
    std::string_view ownName = own.dli_fname;
    ownName.remove_prefix(ownName.rfind('/') + 1);
    const link_map* const program = _r_debug.r_map;  // the first one is the program
    const char* texts = nullptr;
    for (const ElfW(Dyn)* entry = program->l_ld; entry->d_tag != DT_NULL; ++entry) {
        if (entry->d_tag == DT_STRTAB) texts = reinterpret_cast<const char*>(entry->d_un.d_ptr);
    }
    if (texts == nullptr) return true;
    for (const ElfW(Dyn)* entry = program->l_ld; entry->d_tag != DT_NULL; ++entry) {
        if (entry->d_tag == DT_NEEDED && ownName == texts + entry->d_un.d_val) return true;
    }
    return false;
}

// A host loads its plug-ins long before its operator turns to a phone.
[[maybe_unused]] const bool begunWhenLoaded = [] {
    if (LoadedWithTheProgram()) return false;
    BeginWarmUp();
    return true;
}();

}  // namespace

void BeginWarmUp() {
    WarmUp& warmUp = TheWarmUp();
    const support::MutexLock lock(warmUp.mutex);
    if (std::exchange(warmUp.begun, true)) return;
    // OpenSSL must not clean up under a thread that makes a key: what is registered later runs earlier. It
    // registers its own with the first thing that it is asked to prepare; asked for nothing, it does nothing.
    OPENSSL_init_crypto(OPENSSL_INIT_LOAD_CRYPTO_STRINGS, nullptr);
    if (std::atexit(AwaitWarmUp) != 0) return;
    // At the same time, since the key takes longer than all the rest.
    warmUp.load = StartNamed("vo-load", [] {
        if (EnsureEngine()) LoadElements();
    });
    warmUp.key = StartNamed("vo-warm-up", [] {
        if (EnsureEngine()) MakeKey();
    });
}

void AwaitWarmUp() {
    WarmUp& warmUp = TheWarmUp();
    const support::MutexLock lock(warmUp.mutex);
    if (warmUp.load.joinable()) warmUp.load.join();
    if (warmUp.key.joinable()) warmUp.key.join();
}

}  // namespace webrtc_gstreamer
