#include <dlfcn.h>
#include <elf.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "host/renderer/nxRendererFactory2.h"
#include "host/renderer/nxSourceRegistry.h"
#include "tests/contract/plugin_exports/DynamicTables.h"

namespace {

using tests::DynamicTables;
using tests::ReadDynamicTables;

constexpr const char* kPlugin = KESTREL_PLUGIN_FOLDER "/kestrel.so";

std::set<std::string> WantedExports() {
    const std::string space = "vo_webrtc::";
    std::set<std::string> wanted = {"initialize_sources_plugin",
                                    space + "voSize::operator==(vo_webrtc::voSize const&) const",
                                    space + "voSize::operator!=(vo_webrtc::voSize const&) const",
                                    space + "voPeerConnectionFactoryInterface::kGuidLength",
                                    space + "voPeerConnectionFactoryInterface::kNameLength"};
    for (const std::string name :
         {"voObject", "voCallback", "voCustomAudioDevice", "voRingBuffer", "voVideoBufferI420",
          "voMediaStreamInterface", "voVideoTrackInterface", "voVideoTrackSourceInterface",
          "voAudioTrackInterface", "voIceCandidateInterface", "voPeerConnectionInterface",
          "voPeerConnectionFactoryInterface"}) {
        const std::string full = space + name;
        wanted.insert("vtable for " + full);
        wanted.insert(full + "::" + name + "(" + full + " const&)");
        wanted.insert(full + "::operator=(" + full + " const&)");
        wanted.insert(full + "::~" + name + "()");
        if (name == "voObject" || name == "voCallback") continue;  // without moves of their own
        wanted.insert(full + "::" + name + "(" + full + "&&)");
        wanted.insert(full + "::operator=(" + full + "&&)");
    }
    return wanted;
}

// The compiler's sanitizers bring a runtime and symbols of their own.
bool IsOfASanitizer(const std::string& name) {
    return name.find("asan") != std::string::npos || name.find("tsan") != std::string::npos ||
           name.find("ubsan") != std::string::npos || name.find("clang_rt") != std::string::npos;
}

TEST(PluginExports, AreTheEntryAndTheWrappersInlineMembersOnly) {
    const DynamicTables tables = ReadDynamicTables(kPlugin);
    const std::set<std::string> wanted = WantedExports();
    std::vector<std::string> missing;
    std::vector<std::string> surplus;
    std::set_difference(wanted.begin(), wanted.end(), tables.exports.begin(), tables.exports.end(),
                        std::back_inserter(missing));
    std::set_difference(tables.exports.begin(), tables.exports.end(), wanted.begin(), wanted.end(),
                        std::back_inserter(surplus));
    EXPECT_THAT(missing, testing::IsEmpty());
    EXPECT_THAT(surplus, testing::IsEmpty());
}

TEST(PluginExports, NeedsTheHostTheWrapperAndFmtOnly) {
    std::vector<std::string> own;
    for (const std::string& library : ReadDynamicTables(kPlugin).needed) {
        const bool ofTheSystem = IsOfASanitizer(library) || library.starts_with("libstdc++.") ||
                                 library.starts_with("libm.") || library.starts_with("libgcc_s.") ||
                                 library.starts_with("libc.") || library.starts_with("ld-linux");
        if (!ofTheSystem) own.push_back(library.substr(0, library.find(".so")));
    }
    EXPECT_THAT(own, testing::UnorderedElementsAre("libhalyard_host", "libvo_webrtc", "libfmt"));
}

TEST(PluginExports, StaysLoaded) {
    EXPECT_NE(ReadDynamicTables(kPlugin).stateFlags & DF_1_NODELETE, 0U);
}

TEST(PluginExports, ItsLayoutLiesBesideIt) {
    EXPECT_TRUE(std::ifstream(KESTREL_PLUGIN_FOLDER "/Sources/Kestrel/kestrel_gui.xml").good());
}

class Registry final : public nxSourceRegistry {
public:
    void AddRef() override { ++references; }
    void Release() override { --references; }
    void Announce(const nxSourceDescription&, const zRecord&) override {}
    void Withdraw(const nxSourceDescription&, std::uint32_t) override {}
    int references = 0;
};

TEST(PluginExports, TheEntryMakesAFactoryOfOneReference) {
    void* const library = dlopen(kPlugin, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    using Entry = nxRendererFactory2* (*)(nxSourceRegistry*);
    const auto entry = reinterpret_cast<Entry>(dlsym(library, "initialize_sources_plugin"));
    ASSERT_NE(entry, nullptr);

    Registry registry;
    nxRendererFactory2* const factory = entry(&registry);
    ASSERT_NE(factory, nullptr);
    EXPECT_EQ(registry.references, 1);
    EXPECT_TRUE(factory->OffersSources());
    EXPECT_EQ(factory->Release(), 0U);
    EXPECT_EQ(registry.references, 0);
    dlclose(library);
}

}  // namespace
