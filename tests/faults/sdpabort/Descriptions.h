// Answers as phones might give them, and the same with faults. Everything follows from the dice.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace sdpabort {

class Dice {
public:
    explicit Dice(std::uint64_t seed) : engine(seed) {}

    std::size_t Below(std::size_t count) {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(engine);
    }
    bool OneIn(std::size_t count) { return Below(count) == 0; }
    template <class Container>
    const auto& Of(const Container& container) {
        return container[Below(container.size())];
    }

private:
    std::mt19937_64 engine;
};

// A valid answer to an offer, in the manner of one of several senders.
std::string GoodAnswer(const std::string& offer, Dice& dice);
// An offer of a phone of its own, with the sections that `offer` has.
std::string GoodOffer(const std::string& offer, Dice& dice);

// One to six changes to a description; `offer` is what else lies about.
std::string Mutated(const std::string& description, const std::string& offer, Dice& dice);
// Only such changes as leave the transport whole, so that media may flow.
std::string MutatedMedia(const std::string& description, Dice& dice);

}  // namespace sdpabort
