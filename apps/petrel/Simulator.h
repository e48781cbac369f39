// All simulated phones of one process, with the encoder that they share.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "apps/petrel/ControlLoop.h"
#include "apps/petrel/Phone.h"
#include "apps/petrel/ServiceAnnouncer.h"
#include "apps/petrel/SharedEncoder.h"
#include "apps/petrel/SimulateOptions.h"

namespace petrel {

class Simulator {
public:
    // Null with a sentence in `error` when a file cannot be read or an address not be used.
    static std::unique_ptr<Simulator> Start(const SimulateOptions& options, std::uint16_t port,
                                            std::string& error);
    ~Simulator();

    const std::vector<std::shared_ptr<Phone>>& Phones() const { return phones; }
    void Hang(HangUntil until) { encoder->Hang(until); }  // [any-thread]

private:
    Simulator() = default;

    std::unique_ptr<SharedEncoder> encoder;
    ControlLoop loop;
    std::vector<std::shared_ptr<Phone>> phones;
    std::unique_ptr<ServiceAnnouncer> announcer;  // null when there is nothing to announce
};

}  // namespace petrel
