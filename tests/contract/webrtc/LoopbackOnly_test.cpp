// The same library on a machine whose only network interface is loopback: the program moves into a network
// namespace of its own while no other thread exists.
#include <gtest/gtest.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>

#include "tests/contract/webrtc/Call.h"
#include "tests/contract/webrtc/LeakCounts.h"
#include "tests/fakes/TestMain.h"

namespace contract {
namespace {

std::string namespaceError = "not tried";

bool SwitchLoopbackOn() {
    const int handle = socket(AF_INET, SOCK_DGRAM, 0);
    if (handle < 0) return false;
    ifreq request{};
    std::strncpy(request.ifr_name, "lo", sizeof(request.ifr_name) - 1);
    bool done = ioctl(handle, SIOCGIFFLAGS, &request) == 0;
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
    done = done && ioctl(handle, SIOCSIFFLAGS, &request) == 0;
    close(handle);
    return done;
}

void EnterOwnNetwork() {
    const int user = geteuid() == 0 ? 0 : CLONE_NEWUSER;
    if (unshare(CLONE_NEWNET | user) != 0) {
        namespaceError = std::string("no network namespace can be made: ") + std::strerror(errno);
    } else if (!SwitchLoopbackOn()) {
        namespaceError = std::string("loopback cannot be switched on: ") + std::strerror(errno);
    } else {
        namespaceError.clear();
    }
}

class LoopbackOnly : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override { ASSERT_EQ(namespaceError, ""); }
};

TEST_P(LoopbackOnly, PicturesAndSoundArrive) {
    Record blocks;
    Call call({.codec = GetParam()});
    call.Connect();
    ASSERT_TRUE(call.WaitForPictures(30));
    const auto stream = call.WaitForStream();
    const voPointer<voAudioTrackInterface::Sink> sink(
        new AudioSink([&blocks](const voAudioData&) { blocks.Add("block"); }));
    stream->AudioTrack(0)->AddSink(sink);
    EXPECT_TRUE(blocks.WaitFor("block"));
    stream->AudioTrack(0)->RemoveSink(sink);
    const auto candidate = call.record.WaitFor("candidate");
    ASSERT_TRUE(candidate);
    EXPECT_NE(candidate->text.find(" 127.0.0.1 "), std::string::npos) << candidate->text;
}

TEST_P(LoopbackOnly, AnAnswerArrivesForThePhonesOffer) {
    Call call({.codec = GetParam()});
    call.ConnectByOfferOfPhone();
    EXPECT_TRUE(call.WaitForPictures(10));
}

INSTANTIATE_TEST_SUITE_P(Codecs, LoopbackOnly, testing::Values("H264", "VP8", "VP9"));

std::chrono::duration<double> TimeToPicture(Call& call) {
    const auto begin = std::chrono::steady_clock::now();
    call.Connect();
    EXPECT_TRUE(call.WaitForPictures(1));
    return std::chrono::steady_clock::now() - begin;
}

TEST(LoopbackOnlyServers, UnreachableOnesHoldUpNothing) {
    ASSERT_EQ(namespaceError, "");
    Call plain;
    const auto without = TimeToPicture(plain);
    Call call;
    const voStunServer servers[] = {{"stun:stun.example.net:19302", "", ""},
                                    {"turn:192.0.2.1:3478", "u", "p"}};
    call.Reconnect(servers, 2);
    const auto with = TimeToPicture(call);
    EXPECT_LT(with, 2 * without + std::chrono::seconds(4));
}

}  // namespace
}  // namespace contract

int main(int argc, char** argv) {
    contract::EnterOwnNetwork();
    return tests::RunAllTests(argc, argv, contract::LeakCounts());
}
