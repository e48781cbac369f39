// What the operator set for a source holds for every renderer that it gets.
#include "host/renderer/nxAudioControlsXI.h"
#include "host/renderer/nxRenderer2.h"
#include "tests/unit/host_sources/SourceListFixture.h"

namespace host_runtime {
namespace {

class SourceControls : public tests::SourceListFixture {
protected:
    static bool IsAudioMuted(const Source& source) {
        void* found = nullptr;
        source.AudioRenderer()->QueryInterface("nxAudioControlsXI", &found);
        const auto controls = HostPointer<nxAudioControlsXI>::Adopt(static_cast<nxAudioControlsXI*>(found));
        return controls->IsAudioMuted();
    }
};

TEST_F(SourceControls, MuteHoldsForNewRenderers) {
    const auto source = list->Add("10.0.0.1");
    list->SetAudioMuted("SOURCE-1", true);
    const auto before = source->AudioRenderer();
    ASSERT_TRUE(list->ChangeAddress("SOURCE-1", ""));
    ASSERT_NE(source->AudioRenderer(), before);
    EXPECT_TRUE(IsAudioMuted(*source));
}

TEST_F(SourceControls, MuteSurvivesARestart) {
    list->Add("10.0.0.1");
    list->SetAudioMuted("SOURCE-1", true);
    EndList();
    plugin.reset();
    factory = new fakes::FakeFactory(registry.Get(), fakes::MakePatternRenderer);
    plugin = std::make_unique<SourcePlugin>(factory);
    MakeList();
    const auto source = list->Restore("SOURCE-1");
    ASSERT_TRUE(source);
    ASSERT_TRUE(source->AudioRenderer());
    EXPECT_TRUE(IsAudioMuted(*source));
}

}  // namespace
}  // namespace host_runtime
