#include "tests/e2e/host/ThreadAllocations.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/fakes/AllocationOperators.h"

namespace {

// A thread takes a slot with its first allocation and keeps it. Nothing here may allocate.
struct Slot {
    std::atomic<pid_t> thread{0};
    std::atomic<std::int64_t> allocations{0};
};
constexpr std::size_t kMostThreads = 4096;
std::array<Slot, kMostThreads> slots;
std::atomic<std::size_t> takenSlots{0};
thread_local Slot* ownSlot = nullptr;

std::int64_t AllocationsOf(pid_t thread) {
    std::int64_t allocations = 0;
    for (std::size_t index = 0; index < takenSlots.load(); ++index) {
        if (slots[index].thread.load() == thread) allocations += slots[index].allocations.load();
    }
    return allocations;
}

// The tenth field of a thread's statistics (proc(5)), counted behind the name, which may contain blanks.
std::int64_t PageFaultsIn(const std::string& statistics) {
    std::istringstream fields(statistics.substr(statistics.rfind(')') + 1));
    std::string skipped;
    for (int field = 3; field < 10; ++field)
        fields >> skipped;
    std::int64_t faults = 0;
    fields >> faults;
    return faults;
}

}  // namespace

void tests::BeforeAllocation() {
    if (ownSlot == nullptr) {
        const std::size_t index = takenSlots.fetch_add(1);
        if (index >= kMostThreads) std::abort();  // counting on would hide allocations
        ownSlot = &slots[index];
        ownSlot->thread.store(gettid());
    }
    ownSlot->allocations.fetch_add(1, std::memory_order_relaxed);
}

std::map<pid_t, e2e::ThreadUse> e2e::UseByThread() {
    std::map<pid_t, ThreadUse> threads;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
        const auto thread = static_cast<pid_t>(std::stol(entry.path().filename().string()));
        ThreadUse use;
        std::string statistics;
        std::ifstream(entry.path() / "comm") >> use.name;
        std::getline(std::ifstream(entry.path() / "stat"), statistics);
        if (use.name.empty() || statistics.empty()) continue;  // it ended meanwhile
        use.allocations = AllocationsOf(thread);
        use.pageFaults = PageFaultsIn(statistics);
        threads[thread] = std::move(use);
    }
    return threads;
}
