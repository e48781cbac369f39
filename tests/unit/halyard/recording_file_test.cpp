#include "apps/halyard/RecordingFile.h"

#include <gtest/gtest.h>

#include "tests/unit/host_sources/TemporaryDirectory.h"

namespace halyard {
namespace {

TEST(RecordingFile, HasASafeName) {
    EXPECT_EQ(SafeFileName("192.168.1.20"), "192.168.1.20");
    EXPECT_EQ(SafeFileName("../../etc/passwd"), "_._.._etc_passwd");
    EXPECT_EQ(SafeFileName("ws://h/"), "ws___h_");
    EXPECT_EQ(SafeFileName(""), "source");
    EXPECT_EQ(SafeFileName(".hidden"), "_hidden");
    EXPECT_EQ(SafeFileName("-option"), "_option");
    EXPECT_EQ(SafeFileName(std::string_view("a\0b\n", 4)), "a_b_");
    EXPECT_EQ(SafeFileName(std::string(500, 'x')).size(), 100U);
}

TEST(RecordingFile, NeverReplacesAnother) {
    const tests::TemporaryDirectory directory;
    std::string error;
    tests::WriteText(directory / "phone.mkv", "kept");
    EXPECT_EQ(ReserveRecordingFile(directory.Path(), "phone", error), directory / "phone-2.mkv");
    EXPECT_EQ(ReserveRecordingFile(directory.Path(), "phone", error), directory / "phone-3.mkv");
    EXPECT_EQ(tests::ReadText(directory / "phone.mkv"), "kept");
    EXPECT_EQ(ReserveRecordingFile(directory.Path(), "other", error), directory / "other.mkv");
}

TEST(RecordingFile, SaysWhereItCannotBeMade) {
    std::string error;
    EXPECT_TRUE(ReserveRecordingFile("/nowhere/at/all", "phone", error).empty());
    EXPECT_NE(error.find("/nowhere/at/all/phone.mkv"), std::string::npos) << error;
}

}  // namespace
}  // namespace halyard
