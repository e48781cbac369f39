#pragma once

#include <atomic>
#include <cstdint>

namespace support {

// Counts the living objects of a class, so that tests can see that none is left. Derive privately and
// befriend nothing: Counted<T>::Alive() is public.
template <class T>
class Counted {
public:
    static std::int64_t Alive() { return alive.load(std::memory_order_relaxed); }

protected:
    Counted() { alive.fetch_add(1, std::memory_order_relaxed); }
    Counted(const Counted&) : Counted() {}
    Counted& operator=(const Counted&) = default;
    ~Counted() { alive.fetch_sub(1, std::memory_order_relaxed); }

private:
    static inline std::atomic<std::int64_t> alive{0};
};

}  // namespace support
