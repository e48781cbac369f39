#include "apps/petrel/serve/TallyMemory.h"

#include <gtest/gtest.h>

namespace tests {
namespace {

using petrel::FingerprintInOffer;
using petrel::HostOfPhone;
using petrel::TallyMemory;
using namespace std::chrono_literals;

const HostOfPhone kHost{"PHONE", "GUID", "sha-256 AA"};

class TallyMemoryTest : public testing::Test {
protected:
    TallyMemory memory;
    TallyMemory::Time now{1000s};
};

TEST(FingerprintInOffer, IsTheFirstOne) {
    EXPECT_EQ(FingerprintInOffer("v=0\r\na=fingerprint:sha-256 AA:BB\r\na=fingerprint:sha-1 CC\r\n"),
              "sha-256 AA:BB");
    EXPECT_EQ(FingerprintInOffer("v=0\na=fingerprint:x"), "x");
    for (const char* sdp : {"", "\n", "v=0\r\n", "b=a=fingerprint:sha-256 AA\r\n"})
        EXPECT_EQ(FingerprintInOffer(sdp), "") << sdp;
}

TEST_F(TallyMemoryTest, KnowsAHostAgainOnce) {
    EXPECT_FALSE(memory.Take(kHost, now));
    memory.Keep(kHost, now);
    for (const HostOfPhone& other :
         {HostOfPhone{"OTHER", "GUID", "sha-256 AA"}, HostOfPhone{"PHONE", "OTHER", "sha-256 AA"},
          HostOfPhone{"PHONE", "GUID", "sha-256 BB"}})
        EXPECT_FALSE(memory.Take(other, now));
    EXPECT_TRUE(memory.Take(kHost, now));
    EXPECT_FALSE(memory.Take(kHost, now));
}

TEST_F(TallyMemoryTest, ForgetsAfterAWhile) {
    memory.Keep(kHost, now);
    EXPECT_FALSE(memory.Take(kHost, now + TallyMemory::kLifetime));
    memory.Keep(kHost, now);
    EXPECT_TRUE(memory.Take(kHost, now + TallyMemory::kLifetime - 1ms));
}

TEST_F(TallyMemoryTest, ForgetsAHostThatHasSpoken) {
    memory.Keep(kHost, now);
    memory.Forget("PHONE", "GUID");
    EXPECT_FALSE(memory.Take(kHost, now));
}

TEST_F(TallyMemoryTest, KeepsNobodyWhoCannotBeKnownAgain) {
    const HostOfPhone nameless{"PHONE", "GUID", ""};
    memory.Keep(nameless, now);
    EXPECT_FALSE(memory.Take(nameless, now));
}

TEST_F(TallyMemoryTest, HasAnEnd) {
    const auto numbered = [](std::size_t number) {
        return HostOfPhone{"PHONE", std::to_string(number), "sha-256 AA"};
    };
    for (std::size_t number = 0; number <= TallyMemory::kMost; ++number)
        memory.Keep(numbered(number), now);
    EXPECT_FALSE(memory.Take(numbered(0), now)) << "the oldest goes first";
    EXPECT_TRUE(memory.Take(numbered(1), now));
    EXPECT_TRUE(memory.Take(numbered(TallyMemory::kMost), now));
    const HostOfPhone endless{"PHONE", std::string(100'000, 'x'), "sha-256 AA"};
    memory.Keep(endless, now);
    EXPECT_FALSE(memory.Take(endless, now));
}

}  // namespace
}  // namespace tests
