#include <gtest/gtest.h>

#include <memory>

#include "host/media/nxBuffer2.h"
#include "host/renderer/nxRenderer2.h"
#include "host/renderer/nxRendererFactory2.h"
#include "host_runtime/media/BufferGroup.h"

namespace {

class PlainRenderer : public nxRenderer2 {
public:
    using nxRenderer2::nxRenderer2;
    zStatus OutputFormat(mdMediaType, mdMediaRecord&, std::int32_t) override { return kStatusOk; }
    mdMediaType MediaType() override { return kMediaTypeVideo; }
};

class PlainFactory : public nxRendererFactory2 {
public:
    void GetSourceTypeInfo(nxSourceTypeInfo&) override {}
    bool OffersSources() override { return true; }
    zStatus ActivateSource(const char*, zRecord&) override { return kStatusOk; }
    void SourceNotification(const char*) override {}
    void ForwardToSession(const char*, std::uint32_t) override {}
    void NewSource(nxSourceDescription&, zRecord&) override {}
    void ConnectDirect(const char*, zRecord&) override {}
    void CreateRenderer(std::shared_ptr<nxRenderer2>&, const char*, mdMediaType, nxBufferGroup2*) override {}
};

TEST(Renderer, KeepsItsBufferGroupForItsLife) {
    auto* group = host_runtime::BufferGroup::Make();
    auto* renderer = new PlainRenderer(group);
    EXPECT_EQ(group->Release(), 1U);
    EXPECT_EQ(host_runtime::BufferGroup::Alive(), 1);
    renderer->Release();
    EXPECT_EQ(host_runtime::BufferGroup::Alive(), 0);
}

TEST(Renderer, WithoutPicturesOfItsOwnFailsEachPull) {
    auto* group = host_runtime::BufferGroup::Make();
    auto* renderer = new PlainRenderer(group);
    group->Release();
    nxBuffer2* buffer = reinterpret_cast<nxBuffer2*>(renderer);
    EXPECT_EQ(renderer->BufferForParameters(&buffer, {}), -1);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(renderer->BufferForParameters(nullptr, {}), -1);
    renderer->Release();
}

TEST(Renderer, AnswersQueriesItDoesNotOverride) {
    auto* group = host_runtime::BufferGroup::Make();
    auto* renderer = new PlainRenderer(group);
    group->Release();
    zRecord settings;
    EXPECT_EQ(renderer->ApplySettings(settings), kStatusOk);
    EXPECT_EQ(renderer->CueTimestampForParameters({77, 1}), 77);
    const nxRendererTimes times = renderer->Times();
    EXPECT_EQ(times.words[0] | times.words[1] | times.words[2], 0);
    renderer->Release();
}

TEST(RendererFactory, DropsTheReferenceThatIsHandedIn) {
    auto* factory = new PlainFactory;
    auto object = std::make_shared<zObject>();
    const std::weak_ptr<zObject> watched = object;
    factory->ReleaseNotification(std::move(object));
    EXPECT_TRUE(watched.expired());
    factory->Release();
}

TEST(MediaRecord, CarriesItsType) {
    EXPECT_EQ(mdMediaRecord(kMediaTypeAudio).AsInt32("type", 0), static_cast<std::int32_t>(kMediaTypeAudio));
}

TEST(MediaRecord, BytesPerRowFollowWidthAndFormat) {
    mdMediaRecord record(kMediaTypeVideo);
    const auto bytesPerRow = [&record](std::int32_t width, zFourCC format) {
        record.SetInt32("mwid", width);
        record.SetInt32("mcol", static_cast<std::int32_t>(format));
        record.SetBytesPerRowBasedOnFormat();
        return record.AsInt32("mbpr", -1);
    };
    EXPECT_EQ(bytesPerRow(1920, kPixelFormatUYVY), 3840);
    EXPECT_EQ(bytesPerRow(1, kPixelFormatUYVY), 4);
    EXPECT_EQ(bytesPerRow(639, kPixelFormatUYVY), 1280);
    EXPECT_EQ(bytesPerRow(640, kPixelFormatRGB), 2560);
    EXPECT_EQ(bytesPerRow(0, kPixelFormatUYVY), 0);
    EXPECT_EQ(bytesPerRow(-5, kPixelFormatUYVY), 0);
    EXPECT_EQ(bytesPerRow(INT32_MAX, kPixelFormatUYVY), 0);
}

}  // namespace
