#include "apps/petrel/PhoneIdentity.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using petrel::MakePhoneIdentity;

TEST(PhoneIdentity, IsTheSameAtEveryStart) {
    // The very text, so that a later build keeps it too.
    EXPECT_EQ(MakePhoneIdentity("127.0.0.2", "", false).peersIdentifier,
              "27751c03-9e41-57cf-a577-88a6e979da6b");
    EXPECT_EQ(MakePhoneIdentity("127.0.0.2", "Other", true).peersIdentifier,
              MakePhoneIdentity("127.0.0.2", "", false).peersIdentifier);
}

TEST(PhoneIdentity, DiffersByAddress) {
    EXPECT_NE(MakePhoneIdentity("127.0.0.2", "", false).peersIdentifier,
              MakePhoneIdentity("127.0.0.3", "", false).peersIdentifier);
}

TEST(PhoneIdentity, HasANameThatTellsPhonesApart) {
    EXPECT_EQ(MakePhoneIdentity("127.0.0.2", "", false).userName, "Petrel simulator 2");
    EXPECT_EQ(MakePhoneIdentity("127.0.0.2", "Camera", false).userName, "Camera");
    EXPECT_EQ(MakePhoneIdentity("127.0.0.12", "Camera", true).userName, "Camera 12");
}

}  // namespace
