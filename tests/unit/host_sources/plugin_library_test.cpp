#include "host_runtime/sources/PluginLibrary.h"

#include <gtest/gtest.h>

#include "host/renderer/nxRendererFactory2.h"
#include "host_runtime/sources/HostPointer.h"
#include "host_runtime/sources/SourceRegistry.h"
#include "tests/unit/host_sources/TemporaryDirectory.h"

namespace host_runtime {
namespace {

TEST(PluginLibrary, MakesTheFactoryOfAPlugin) {
    std::string error;
    const auto library = PluginLibrary::Load(FAKE_PLUGIN, error);
    ASSERT_TRUE(library) << error;
    const auto registry = HostPointer<SourceRegistry>::Adopt(new SourceRegistry);
    const auto factory = HostPointer<nxRendererFactory2>::Adopt(library->MakeFactory(registry.Get(), error));
    ASSERT_TRUE(factory) << error;
    EXPECT_TRUE(factory->OffersSources());
}

TEST(PluginLibrary, FindsAFileGivenRelativeToTheWorkingDirectory) {
    const std::filesystem::path plugin(FAKE_PLUGIN);
    std::string error;
    const auto library = PluginLibrary::Load(std::filesystem::relative(plugin), error);
    ASSERT_TRUE(library) << error;
    EXPECT_TRUE(library->File().is_absolute());
}

TEST(PluginLibrary, SaysInOneSentenceWhatIsWrong) {
    const tests::TemporaryDirectory directory;
    tests::WriteText(directory / "text.so", "not a library");
    const std::pair<std::filesystem::path, const char*> cases[] = {
        {directory / "missing.so", "There is no plug-in"},
        {directory.Path(), "There is no plug-in"},
        {directory / "text.so", "cannot be loaded"},
        {NO_PLUGIN, "is not a sources plug-in"},
    };
    for (const auto& [file, expected] : cases) {
        std::string error;
        EXPECT_FALSE(PluginLibrary::Load(file, error)) << file;
        EXPECT_NE(error.find(expected), std::string::npos) << error;
        EXPECT_EQ(error.find('\n'), std::string::npos) << error;
        EXPECT_EQ(error.back(), '.') << error;
    }
}

TEST(PluginLibrary, ReportsAnEntryPointThatThrows) {
    std::string error;
    const auto library = PluginLibrary::Load(FAILING_PLUGIN, error);
    ASSERT_TRUE(library) << error;
    const auto registry = HostPointer<SourceRegistry>::Adopt(new SourceRegistry);
    EXPECT_EQ(library->MakeFactory(registry.Get(), error), nullptr);
    EXPECT_NE(error.find("no memory for phones"), std::string::npos) << error;
}

}  // namespace
}  // namespace host_runtime
