#include "host_runtime/network/HandshakeAnswer.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using host_runtime::IsRefusal;

TEST(HandshakeAnswer, IsOpenAtEveryByteOfAnAcceptance) {
    const std::string acceptance = "HTTP/1.1 101 Switching Protocols\r\n";
    for (std::size_t length = 0; length <= acceptance.size(); ++length)
        EXPECT_FALSE(IsRefusal(acceptance.substr(0, length))) << length;
}

TEST(HandshakeAnswer, IsARefusalFromTheFirstByteThatDiffers) {
    EXPECT_TRUE(IsRefusal("S"));
    EXPECT_TRUE(IsRefusal("HTTP/2"));
    EXPECT_TRUE(IsRefusal("HTTP/1.0 101"));
    EXPECT_TRUE(IsRefusal("HTTP/1.1 2"));
    EXPECT_TRUE(IsRefusal("HTTP/1.1 100 Continue"));
    EXPECT_TRUE(IsRefusal(std::string_view("\0", 1)));
}

}  // namespace
