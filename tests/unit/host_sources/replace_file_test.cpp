#include "host_runtime/sources/ReplaceFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/unit/host_sources/TemporaryDirectory.h"

namespace host_runtime {
namespace {

std::size_t FilesIn(const std::filesystem::path& directory) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(directory), {}));
}

TEST(ReplaceFile, PutsTheWholeTextInPlace) {
    const tests::TemporaryDirectory directory;
    std::string error;
    EXPECT_TRUE(ReplaceFile(directory / "report", "first", error));
    EXPECT_TRUE(ReplaceFile(directory / "report", "second", error));
    EXPECT_EQ(tests::ReadText(directory / "report"), "second");
    EXPECT_EQ(FilesIn(directory.Path()), 1U) << "nothing temporary stays";
}

TEST(ReplaceFile, LeavesTheOldFileWhenItCannotWrite) {
    const tests::TemporaryDirectory directory;
    std::filesystem::create_directory(directory / "report");
    tests::WriteText(directory / "report/inside", "kept");
    std::string error;
    EXPECT_FALSE(ReplaceFile(directory / "report", "text", error)) << "a directory cannot be replaced";
    EXPECT_FALSE(error.empty());
    EXPECT_EQ(tests::ReadText(directory / "report/inside"), "kept");
    EXPECT_EQ(FilesIn(directory.Path()), 1U);
}

TEST(ReplaceFile, SaysWhichPlaceCannotBeWritten) {
    std::string error;
    EXPECT_FALSE(ReplaceFile("/nowhere/at/all/report", "text", error));
    EXPECT_NE(error.find("/nowhere/at/all/report"), std::string::npos) << error;
    EXPECT_FALSE(CanCreateFileIn("/nowhere/at/all", error));
    EXPECT_NE(error.find("/nowhere/at/all"), std::string::npos) << error;
}

TEST(CanCreateFileIn, LeavesNothingBehind) {
    const tests::TemporaryDirectory directory;
    std::string error;
    EXPECT_TRUE(CanCreateFileIn(directory.Path(), error)) << error;
    EXPECT_EQ(FilesIn(directory.Path()), 0U);
}

}  // namespace
}  // namespace host_runtime
