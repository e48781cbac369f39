// What is ready before the first peer connection asks for it.
#include <gst/gst.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "webrtc_gstreamer/LivingObjects.h"

namespace {

// A process that ends while its library is still warming up.
TEST(WarmUpDeathTest, SurvivesAnExitMeanwhile) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(std::exit(0), testing::ExitedWithCode(0), "^$");
}

TEST(WarmUp, MakesTheKey) {
    ASSERT_TRUE(webrtc_gstreamer::WaitUntilIdle(30'000));
    // GStreamer knows this class only once it has a certificate, which comes with the key.
    EXPECT_NE(g_type_from_name("GstDtlsCertificate"), G_TYPE_INVALID);
}

TEST(WarmUp, LoadsWhatAStreamPassesThrough) {
    ASSERT_TRUE(webrtc_gstreamer::WaitUntilIdle(30'000));
    for (const char* name : {"webrtc", "rtpmanager", "dtls", "srtp", "nice", "rtp", "videoparsersbad",
                             "libav", "opus", "audioconvert", "audioresample", "app"}) {
        GstPlugin* plugin = gst_registry_find_plugin(gst_registry_get(), name);
        ASSERT_NE(plugin, nullptr) << name;
        EXPECT_TRUE(gst_plugin_is_loaded(plugin)) << name;
        gst_object_unref(plugin);
    }
}

}  // namespace
