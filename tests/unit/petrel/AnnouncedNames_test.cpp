#include "apps/petrel/AnnouncedNames.h"

#include <gtest/gtest.h>

namespace {

TEST(AnnouncedNames, AServiceNameFitsIntoALabel) {
    EXPECT_EQ(petrel::ServiceNameOf("Studio"), "Studio");
    EXPECT_EQ(petrel::ServiceNameOf(std::string(63, 'a')), std::string(63, 'a'));
    EXPECT_EQ(petrel::ServiceNameOf(std::string(64, 'a')), std::string(63, 'a'));
}

TEST(AnnouncedNames, AServiceNameIsCutBetweenCharacters) {
    const std::string euro = "\xE2\x82\xAC";
    EXPECT_EQ(petrel::ServiceNameOf(std::string(60, 'a') + euro + "b"), std::string(60, 'a') + euro);
    EXPECT_EQ(petrel::ServiceNameOf(std::string(61, 'a') + euro), std::string(61, 'a'));
    EXPECT_EQ(petrel::ServiceNameOf(std::string(62, 'a') + euro), std::string(62, 'a'));
}

TEST(AnnouncedNames, EachAddressIsAHostOfItsOwn) {
    EXPECT_EQ(petrel::HostNameOf("192.168.1.20"), "petrel-192-168-1-20");
}

}  // namespace
