#include "tests/faults/link/TunDevice.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/if.h>
#include <linux/if_tun.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "support/scope_guard.h"

namespace faults {
namespace {

// Programs treat interfaces by their names; this is what a phone's would be.
constexpr const char* kDeviceName = "wlan0";
constexpr const char* kNetMask = "255.255.255.0";
// Packets that wait here because this program did not run are late; packets that do not fit are gone.
constexpr int kKernelQueuePackets = 10'000;
constexpr std::size_t kLargestPacket = 65'536;

std::string Because(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

ifreq Request() {
    ifreq request{};
    std::strncpy(request.ifr_name, kDeviceName, IFNAMSIZ - 1);
    return request;
}

ifreq WithAddress(const std::string& text) {
    ifreq request = Request();
    auto* address = reinterpret_cast<sockaddr_in*>(&request.ifr_addr);
    address->sin_family = AF_INET;
    inet_pton(AF_INET, text.c_str(), &address->sin_addr);
    return request;
}

bool EnterNamespace(const std::string& file) {
    const int opened = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (opened < 0) return false;
    const support::ScopeGuard close([opened] { ::close(opened); });
    return setns(opened, CLONE_NEWNET) == 0;
}

bool SetUp(int control, const std::string& address) {
    ifreq own = WithAddress(address);
    ifreq mask = WithAddress(kNetMask);
    ifreq queue = Request();
    queue.ifr_qlen = kKernelQueuePackets;
    ifreq flags = Request();
    if (ioctl(control, SIOCSIFADDR, &own) != 0 || ioctl(control, SIOCSIFNETMASK, &mask) != 0 ||
        ioctl(control, SIOCSIFTXQLEN, &queue) != 0 || ioctl(control, SIOCGIFFLAGS, &flags) != 0)
        return false;
    flags.ifr_flags = static_cast<short>(flags.ifr_flags | IFF_UP | IFF_RUNNING);
    return ioctl(control, SIOCSIFFLAGS, &flags) == 0;
}

}  // namespace

std::unique_ptr<TunDevice> TunDevice::Make(const std::string& networkNamespace, const std::string& address,
                                           std::string& error) {
    if (!EnterNamespace(networkNamespace)) {
        error = Because("the network namespace " + networkNamespace + " cannot be entered");
        return nullptr;
    }
    const int opened = open("/dev/net/tun", O_RDWR | O_CLOEXEC | O_NONBLOCK);
    if (opened < 0) {
        error = Because("/dev/net/tun cannot be opened");
        return nullptr;
    }
    std::unique_ptr<TunDevice> made(new TunDevice(opened));
    ifreq request = Request();
    request.ifr_flags = IFF_TUN | IFF_NO_PI;
    const int control = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const support::ScopeGuard close([control] { ::close(control); });
    if (ioctl(opened, TUNSETIFF, &request) != 0 || !SetUp(control, address)) {
        error = Because("a network device cannot be made");
        return nullptr;
    }
    return made;
}

TunDevice::~TunDevice() {
    ::close(descriptor);
}

std::optional<Packet> TunDevice::Read() {
    std::array<std::byte, kLargestPacket> buffer;
    const ssize_t bytes = read(descriptor, buffer.data(), buffer.size());
    if (bytes <= 0) return std::nullopt;
    return Packet(buffer.begin(), buffer.begin() + bytes);
}

bool TunDevice::Write(const Packet& packet) {
    return write(descriptor, packet.data(), packet.size()) == static_cast<ssize_t>(packet.size());
}

}  // namespace faults
