#include "apps/petrel/serve/StateFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/unit/petrel_serve/TemporaryFolder.h"

namespace petrel {
namespace {

using testing::HasSubstr;

std::size_t FilesIn(const std::filesystem::path& folder) {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder))
        ++count;
    return count;
}

TEST(StateFolder, IsTheOwnersOnly) {
    const tests::TemporaryFolder temporary;
    temporary.State();
    EXPECT_EQ(temporary.ModeOf(""), 0700);
}

TEST(StateFolder, LeavesTheAccessOfOneThatWasThereBefore) {
    const tests::TemporaryFolder temporary;
    const auto folder = temporary.Path() / "state";
    std::filesystem::create_directories(folder);
    chmod(folder.c_str(), 0755);
    std::string error;
    EXPECT_TRUE(StateFolder::Open(folder, error)) << error;
    EXPECT_EQ(temporary.ModeOf(""), 0755);
}

TEST(StateFolder, RefusesOneThatOthersMayWriteTo) {
    const tests::TemporaryFolder temporary;
    const auto folder = temporary.Path() / "state";
    std::filesystem::create_directories(folder);
    for (const mode_t mode : {mode_t{01777}, mode_t{0770}}) {
        chmod(folder.c_str(), mode);
        std::string error;
        EXPECT_FALSE(StateFolder::Open(folder, error));
        EXPECT_THAT(error, HasSubstr("others may write to it."));
    }
}

TEST(StateFolder, IsMadeWithAllThatLeadsToIt) {
    const tests::TemporaryFolder temporary;
    std::string error;
    EXPECT_TRUE(StateFolder::Open(temporary.Path() / "a" / "b" / "c", error)) << error;
}

TEST(StateFolder, SaysInOneSentenceWhyItCannotBeUsed) {
    const tests::TemporaryFolder temporary;
    std::ofstream(temporary.Path() / "file") << "x";
    std::string error;
    EXPECT_FALSE(StateFolder::Open(temporary.Path() / "file", error));
    EXPECT_THAT(error, HasSubstr("file cannot be used as the folder for the state: "));
    EXPECT_FALSE(StateFolder::Open(temporary.Path() / "file" / "below", error));
    EXPECT_THAT(error, HasSubstr("below cannot be made: "));
}

TEST(StateFolder, WritesWholeFilesWithTheirAccess) {
    const tests::TemporaryFolder temporary;
    const StateFolder folder = temporary.State();
    std::string error;
    ASSERT_TRUE(folder.Write("secret", "one", FileAccess::OwnerOnly, error)) << error;
    ASSERT_TRUE(folder.Write("public", "two", FileAccess::Everybody, error)) << error;
    EXPECT_EQ(temporary.ModeOf("secret"), 0600);
    EXPECT_EQ(temporary.ModeOf("public"), 0644);
    EXPECT_EQ(folder.Read("secret", error), "one");
    ASSERT_TRUE(folder.Write("secret", "three", FileAccess::OwnerOnly, error));
    EXPECT_EQ(folder.Read("secret", error), "three");
    EXPECT_EQ(FilesIn(temporary.Path() / "state"), 2U);  // nothing temporary is left
}

TEST(StateFolder, LeavesTheOldFileWhenTheNewOneCannotBeWritten) {
    const tests::TemporaryFolder temporary;
    const StateFolder folder = temporary.State();
    std::string error;
    // A folder in the place of the file cannot be replaced by a file, whoever asks.
    std::filesystem::create_directories(temporary.Path() / "state" / "phones.json" / "inside");
    EXPECT_FALSE(folder.Write("phones.json", "new", FileAccess::OwnerOnly, error));
    EXPECT_THAT(error, HasSubstr("phones.json cannot be written: "));
    EXPECT_TRUE(std::filesystem::exists(temporary.Path() / "state" / "phones.json" / "inside"));
    EXPECT_EQ(FilesIn(temporary.Path() / "state"), 1U);
}

TEST(StateFolder, TellsAMissingFileFromAnUnreadableOne) {
    const tests::TemporaryFolder temporary;
    const StateFolder folder = temporary.State();
    std::string error;
    EXPECT_FALSE(folder.Read("missing", error));
    EXPECT_EQ(error, "");
    std::filesystem::create_directory(temporary.Path() / "state" / "folder");
    EXPECT_FALSE(folder.Read("folder", error));
    EXPECT_THAT(error, HasSubstr("folder cannot be read: "));
}

TEST(StateFolder, GivesALockToOneAtATime) {
    const tests::TemporaryFolder temporary;
    const StateFolder folder = temporary.State();
    auto held = folder.Lock("lock", StateFolder::Patience::GivesUp);
    ASSERT_NE(held, nullptr);
    EXPECT_EQ(folder.Lock("lock", StateFolder::Patience::GivesUp), nullptr);
    EXPECT_NE(folder.Lock("other", StateFolder::Patience::GivesUp), nullptr);
    held.reset();
    EXPECT_NE(folder.Lock("lock", StateFolder::Patience::Waits), nullptr);
}

TEST(DefaultStateFolder, FollowsTheXdgVariables) {
    const char* const before = std::getenv("XDG_STATE_HOME");
    const std::string state = before != nullptr ? before : "";
    setenv("XDG_STATE_HOME", "/somewhere/state", 1);
    EXPECT_EQ(DefaultStateFolder(), "/somewhere/state/petrel/serve");
    setenv("XDG_STATE_HOME", "relative", 1);  // only absolute paths count (XDG base directories)
    EXPECT_EQ(DefaultStateFolder(), std::filesystem::path(std::getenv("HOME")) / ".local/state/petrel/serve");
    if (before != nullptr) {
        setenv("XDG_STATE_HOME", state.c_str(), 1);
    } else {
        unsetenv("XDG_STATE_HOME");
    }
}

}  // namespace
}  // namespace petrel
