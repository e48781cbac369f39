// One end of the link: a network device in a given network namespace, whose packets come out of a descriptor.
// It is gone with this object.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tests/faults/link/LinkQueue.h"

namespace faults {

class TunDevice {
public:
    // `networkNamespace` is a file such as /proc/1/ns/net; the thread is left in it. The device is up when
    // this returns, with `address` in a network of 256. Null when it cannot be made; then `error` says why.
    static std::unique_ptr<TunDevice> Make(const std::string& networkNamespace, const std::string& address,
                                           std::string& error);
    ~TunDevice();
    TunDevice(const TunDevice&) = delete;
    TunDevice& operator=(const TunDevice&) = delete;

    int Descriptor() const { return descriptor; }
    std::optional<Packet> Read();  // nothing when none waits
    // False when the kernel did not take it.
    bool Write(const Packet& packet);

private:
    explicit TunDevice(int opened) : descriptor(opened) {}

    const int descriptor;
};

}  // namespace faults
