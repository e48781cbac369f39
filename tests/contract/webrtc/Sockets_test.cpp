// What the kernel holds for a connection until it is read.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "tests/contract/webrtc/Call.h"

namespace contract {
namespace {

int OptionOf(int descriptor, int option) {
    int value = -1;
    socklen_t size = sizeof value;
    return getsockopt(descriptor, SOL_SOCKET, option, &value, &size) == 0 ? value : -1;
}

int LargestDatagramBuffer() {
    int largest = 0;
    for (const auto& file : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int descriptor = std::stoi(file.path().filename());
        if (OptionOf(descriptor, SO_TYPE) == SOCK_DGRAM)
            largest = std::max(largest, OptionOf(descriptor, SO_RCVBUF));
    }
    return largest;
}

TEST(Sockets, HaveRoomForAPictureThatIsSentAtOnce) {
    const int usual = socket(AF_INET, SOCK_DGRAM, 0);
    const int usualBytes = OptionOf(usual, SO_RCVBUF);
    close(usual);
    Call call;
    call.Connect();
    ASSERT_TRUE(call.WaitForPictures(1));
    EXPECT_GT(LargestDatagramBuffer(), usualBytes) << "the kernel's limit is net.core.rmem_max";
}

}  // namespace
}  // namespace contract
