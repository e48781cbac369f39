// What is ready before the first peer connection asks for it.
#include <gst/gst.h>
#include <gtest/gtest.h>
#include <openssl/crypto.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "webrtc/voPeerConnectionFactoryInterface.h"
#include "webrtc_gstreamer/WarmUp.h"

namespace {

// With the first one the warming up begins, unless a host has loaded the library as part of a plug-in.
void MakeFactory() {
    using namespace vo_webrtc;
    EXPECT_TRUE(voPeerConnectionFactoryInterface::Create(voCustomAudioDevice::Create()));
}

// A process that ends while its library is still warming up.
TEST(WarmUpDeathTest, SurvivesAnExitMeanwhile) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            MakeFactory();
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^$");
}

bool TheKeyIsBeingMade() {
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream comm(task.path() / "comm");
        std::string name;
        if (std::getline(comm, name) && name == "vo-warm-up") return true;
    }
    return false;
}

// Whenever the process' exit comes: nobody may be at work in OpenSSL once it cleans up.
TEST(WarmUpDeathTest, OpenSslCleansUpAfterTheKeyIsMade) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            MakeFactory();
            OPENSSL_init_crypto(OPENSSL_INIT_LOAD_CRYPTO_STRINGS, nullptr);
            OPENSSL_atexit([] {
                if (TheKeyIsBeingMade()) std::_Exit(3);
            });
            std::exit(TheKeyIsBeingMade() ? 0 : 4);  // or there was nothing to wait for
        },
        testing::ExitedWithCode(0), "^$");
}

TEST(WarmUp, MakesTheKey) {
    MakeFactory();
    webrtc_gstreamer::AwaitWarmUp();
    // GStreamer knows this class only once it has a certificate, which comes with the key.
    EXPECT_NE(g_type_from_name("GstDtlsCertificate"), G_TYPE_INVALID);
}

TEST(WarmUp, LoadsWhatAStreamPassesThrough) {
    MakeFactory();
    webrtc_gstreamer::AwaitWarmUp();
    for (const char* name : {"webrtc", "rtpmanager", "dtls", "srtp", "nice", "rtp", "videoparsersbad",
                             "libav", "opus", "audioconvert", "audioresample", "app"}) {
        GstPlugin* plugin = gst_registry_find_plugin(gst_registry_get(), name);
        ASSERT_NE(plugin, nullptr) << name;
        EXPECT_TRUE(gst_plugin_is_loaded(plugin)) << name;
        gst_object_unref(plugin);
    }
}

}  // namespace
