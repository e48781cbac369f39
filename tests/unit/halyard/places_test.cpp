#include "apps/halyard/Places.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/unit/host_sources/TemporaryDirectory.h"

namespace halyard {
namespace {

TEST(DefaultPlugin, IsFoundInTheBuildTreeAndWhereItIsInstalled) {
    const tests::TemporaryDirectory root;
    for (const char* place : {"kestrel.so", "lib/halyard/kestrel.so", "lib/kestrel.so"}) {
        const std::filesystem::path plugin =
            std::string(place) == "kestrel.so" ? root / "bin/kestrel.so" : root / place;
        std::filesystem::create_directories(plugin.parent_path());
        tests::WriteText(plugin, "");
        EXPECT_EQ(DefaultPluginBeside(root / "bin"), plugin);
    }
}

TEST(DefaultPlugin, NamesThePlaceWhereItShouldBe) {
    EXPECT_EQ(DefaultPluginBeside("/nowhere/bin"), "/nowhere/lib/kestrel.so");
}

TEST(DefaultPhonesProgram, IsBesideThisProgram) {
    EXPECT_EQ(DefaultPhonesProgram(),
              std::filesystem::read_symlink("/proc/self/exe").parent_path() / "petrel");
}

class StateDirectoryTest : public testing::Test {
protected:
    void SetUp() override {
        if (const char* value = std::getenv("XDG_STATE_HOME")) state = value;
        if (const char* value = std::getenv("HOME")) home = value;
    }
    void TearDown() override {
        state ? setenv("XDG_STATE_HOME", state->c_str(), 1) : unsetenv("XDG_STATE_HOME");
        home ? setenv("HOME", home->c_str(), 1) : unsetenv("HOME");
    }

    std::optional<std::string> state;
    std::optional<std::string> home;
};

TEST_F(StateDirectoryTest, FollowsTheEnvironment) {
    setenv("XDG_STATE_HOME", "/var/state", 1);
    EXPECT_EQ(DefaultStateDirectory(), "/var/state/halyard");
    unsetenv("XDG_STATE_HOME");
    setenv("HOME", "/home/operator", 1);
    EXPECT_EQ(DefaultStateDirectory(), "/home/operator/.local/state/halyard");
}

TEST_F(StateDirectoryTest, IgnoresRelativePathsAsTheStandardSays) {
    setenv("XDG_STATE_HOME", "state", 1);
    setenv("HOME", "/home/operator", 1);
    EXPECT_EQ(DefaultStateDirectory(), "/home/operator/.local/state/halyard");
}

}  // namespace
}  // namespace halyard
