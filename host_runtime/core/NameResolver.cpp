#include "host_runtime/core/NameResolver.h"

#include <netdb.h>
#include <sys/socket.h>

#include <map>
#include <system_error>
#include <thread>
#include <utility>

#include "support/annotated_mutex.h"

namespace host_runtime {
namespace {

using Clock = std::chrono::steady_clock;

struct Answer {
    bool running = true;
    std::optional<std::string> address;
    Clock::time_point until;  // running: when callers stop waiting; finished: when it is forgotten
};

std::optional<std::string> FirstAddress(const char* host, int flags) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags;
    addrinfo* found = nullptr;
    if (getaddrinfo(host, nullptr, &hints, &found) != 0) return std::nullopt;
    char text[NI_MAXHOST] = {};
    const bool readable = found != nullptr && getnameinfo(found->ai_addr, found->ai_addrlen, text,
                                                          sizeof text, nullptr, 0, NI_NUMERICHOST) == 0;
    freeaddrinfo(found);
    return readable ? std::optional<std::string>(text) : std::nullopt;
}

}  // namespace

// Shared with the look-up threads, which may outlive the resolver.
struct NameResolver::State {
    const Resolve resolve;
    const Limits limits;
    support::Mutex mutex;
    support::Condition finished;
    std::map<std::string, Answer> answers GUARDED_BY(mutex);

    State(Resolve resolveFunction, Limits resolverLimits)
        : resolve(std::move(resolveFunction)), limits(resolverLimits) {}

    // Forgets what is out of date, and the answer that ends first when there are too many.
    void MakeRoom() REQUIRES(mutex) {
        const auto now = Clock::now();
        std::erase_if(
            answers, [now](const auto& entry) { return !entry.second.running && entry.second.until <= now; });
        if (answers.size() < limits.cachedNames) return;
        auto oldest = answers.end();
        for (auto entry = answers.begin(); entry != answers.end(); ++entry) {
            if (entry->second.running) continue;
            if (oldest == answers.end() || entry->second.until < oldest->second.until) oldest = entry;
        }
        if (oldest != answers.end()) answers.erase(oldest);
    }

    std::size_t Running() REQUIRES(mutex) {
        std::size_t running = 0;
        for (const auto& entry : answers)
            running += entry.second.running ? 1 : 0;
        return running;
    }

    void Finish(const std::string& name, std::optional<std::string> address) {
        const support::MutexLock lock(mutex);
        const auto keep = address ? limits.keepFound : limits.keepMissing;
        answers[name] = Answer{false, std::move(address), Clock::now() + keep};
        finished.NotifyAll();
    }

    static bool Start(const std::shared_ptr<State>& state, const std::string& name) {
        try {
            std::thread([state, name] {
                std::optional<std::string> address;
                try {
                    address = state->resolve(name);
                } catch (const std::exception&) {
                    // No answer.
                }
                state->Finish(name, std::move(address));
            }).detach();
            return true;
        } catch (const std::system_error&) {
            return false;  // the system has no thread left
        }
    }
};

NameResolver::NameResolver(Resolve resolveFunction, Limits resolverLimits)
    : state(std::make_shared<State>(std::move(resolveFunction), resolverLimits)) {}

NameResolver::~NameResolver() = default;

std::optional<std::string> NameResolver::Lookup(const std::string& name) {
    State& shared = *state;
    const support::MutexLock lock(shared.mutex);
    shared.MakeRoom();
    if (!shared.answers.contains(name)) {
        if (shared.Running() >= shared.limits.runningLookups) return std::nullopt;
        if (!State::Start(state, name)) return std::nullopt;
        shared.answers[name] = Answer{true, std::nullopt, Clock::now() + shared.limits.timeout};
    }
    while (true) {
        const auto answer = shared.answers.find(name);
        if (answer == shared.answers.end()) return std::nullopt;
        if (!answer->second.running) return answer->second.address;
        if (Clock::now() >= answer->second.until) return std::nullopt;
        shared.finished.WaitUntil(shared.mutex, answer->second.until);
    }
}

std::optional<std::string> AddressLiteral(const std::string& host) {
    return host.empty() ? std::nullopt : FirstAddress(host.c_str(), AI_NUMERICHOST);
}

std::optional<std::string> ResolveWithSystem(const std::string& name) {
    return FirstAddress(name.c_str(), 0);
}

}  // namespace host_runtime
