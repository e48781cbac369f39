#include "tests/e2e/discovery/Machine.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <utility>

namespace e2e {
namespace {

constexpr std::chrono::seconds kSoon{20};

// Administrators' programs are not in everybody's PATH.
std::string Tool(const std::string& name) {
    for (const char* folder : {"/usr/sbin/", "/sbin/", "/usr/bin/", "/bin/"}) {
        if (access((folder + name).c_str(), X_OK) == 0) return folder + name;
    }
    ADD_FAILURE() << "There is no program " << name << "; tools/install_packages test installs it.";
    return name;
}

}  // namespace

Machine::Machine(std::string hostName) : name(std::move(hostName)) {
    WriteFiles();
    holder = std::make_unique<ChildProcess>(
        Tool("unshare"), std::vector<std::string>{"--net", "--mount", Tool("sh"), "-c", Script()});
    EXPECT_TRUE(holder->WaitForOutput("ready", kSoon)) << holder->Errors();
}

Machine::~Machine() {
    avahi.reset();
    bus.reset();
}

std::string Machine::Script() const {
    const std::string files = directory.Path();
    // The daemon's folder in /run belongs to its user, whom a user namespace does not know: here it is root.
    return "set -e; mount -t tmpfs none /run; mkdir /run/avahi-daemon; mount --bind " + files +
           "/passwd /etc/passwd; mount --bind " + files + "/group /etc/group; mount --bind " + files +
           "/services /etc/avahi/services; " + Tool("ip") +
           " link set lo up; echo ready; exec sleep infinity";
}

void Machine::WriteFiles() const {
    std::filesystem::create_directories(directory / "services");
    tests::WriteText(directory / "passwd", "root:x:0:0::/:/bin/sh\navahi:x:0:0::/:/bin/sh\n");
    tests::WriteText(directory / "group", "root:x:0:\navahi:x:0:\n");
    tests::WriteText(directory / "avahi.conf", "[server]\nhost-name=" + name +
                                                   "\nuse-ipv4=yes\nuse-ipv6=yes\n"
                                                   "[wide-area]\nenable-wide-area=no\n"
                                                   "[publish]\npublish-workstation=no\n");
    tests::WriteText(directory / "bus.conf",
                     "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN\" "
                     "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                     "<busconfig><listen>unix:path=" +
                         std::string(directory / "bus") +
                         "</listen><auth>EXTERNAL</auth><policy context=\"default\"><allow user=\"*\"/>"
                         "<allow own=\"*\"/><allow send_destination=\"*\"/><allow receive_sender=\"*\"/>"
                         "</policy></busconfig>\n");
}

void Machine::AddService(const std::string& service, const std::string& textRecords) const {
    tests::WriteText(directory / "services" / (service + ".service"),
                     "<?xml version=\"1.0\" standalone=\"no\"?>\n"
                     "<!DOCTYPE service-group SYSTEM \"avahi-service.dtd\">\n<service-group><name>" +
                         service + "</name><service><type>_petrel._tcp</type><port>9001</port>" +
                         textRecords + "</service></service-group>\n");
}

void Machine::StartBus() {
    std::filesystem::remove(directory / "bus");
    bus = Run(Tool("dbus-daemon"), {"--config-file=" + std::string(directory / "bus.conf"), "--nofork",
                                    "--nopidfile", "--print-address"});
    EXPECT_TRUE(bus->WaitForOutput("unix:path=", kSoon)) << bus->Errors();
}

void Machine::StartAvahi() {
    avahi = Run(Tool("avahi-daemon"), {"--no-drop-root", "--no-chroot", "--no-rlimits", "-f",
                                       std::string(directory / "avahi.conf")});
    EXPECT_TRUE(avahi->WaitForOutput("Server startup complete", kSoon)) << avahi->Errors();
}

void Machine::StopAvahi() {
    avahi->Signal(SIGTERM);
    EXPECT_TRUE(avahi->WaitForEnd(kSoon)) << avahi->Errors();
    avahi.reset();
}

std::unique_ptr<ChildProcess> Machine::Run(const std::string& program,
                                           const std::vector<std::string>& arguments) const {
    std::vector<std::string> words = {"--target", std::to_string(holder->Id()), "--net", "--mount", "--",
                                      program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return std::make_unique<ChildProcess>(
        Tool("nsenter"), words,
        std::vector<std::string>{"DBUS_SYSTEM_BUS_ADDRESS=unix:path=" + std::string(directory / "bus")});
}

void Machine::Do(const std::string& program, const std::vector<std::string>& arguments) const {
    const auto command = Run(program, arguments);
    EXPECT_EQ(command->WaitForEnd(kSoon), 0) << command->Errors();
}

void Machine::Connect(const Machine& one, const std::vector<std::string>& addressesOfOne,
                      const Machine& other, const std::vector<std::string>& addressesOfOther) {
    ChildProcess cable(Tool("ip"),
                       {"link", "add", "cable", "netns", std::to_string(one.holder->Id()), "type", "veth",
                        "peer", "name", "cable", "netns", std::to_string(other.holder->Id())});
    EXPECT_EQ(cable.WaitForEnd(kSoon), 0) << cable.Errors();
    one.AddAddresses("cable", addressesOfOne);
    other.AddAddresses("cable", addressesOfOther);
    one.WaitUntilUp("cable");
    other.WaitUntilUp("cable");
}

void Machine::AddAddresses(const std::string& interface, const std::vector<std::string>& addresses) const {
    for (const std::string& address : addresses)
        Do(Tool("ip"), {"address", "add", address + "/24", "dev", interface});
    Do(Tool("ip"), {"link", "set", interface, "up"});
}

void Machine::WaitUntilUp(const std::string& interface) const {
    // The kernel tells of a carrier up to a second later, and whoever looks before takes the cable for cut.
    const auto deadline = std::chrono::steady_clock::now() + kSoon;
    std::string state;
    do {
        const auto command = Run(Tool("ip"), {"link", "show", "dev", interface});
        EXPECT_EQ(command->WaitForEnd(kSoon), 0) << command->Errors();
        state = command->Output();
    } while (state.find("state UP") == std::string::npos && std::chrono::steady_clock::now() < deadline);
    EXPECT_NE(state.find("state UP"), std::string::npos) << state;
}

}  // namespace e2e
