#include "host_runtime/network/NetworkSettings.h"

#include <gtest/gtest.h>

namespace {

using std::chrono_literals::operator""s;

TEST(NetworkSettings, NoticeAPeerThatVanishedWithinTenSeconds) {
    const host_runtime::NetworkSettings settings;
    EXPECT_LT(settings.silenceLimit, 10s);
    EXPECT_LE(2 * settings.pingInterval, settings.silenceLimit) << "one lost ping must not count";
}

}  // namespace
