// What derives from what, in which order.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "tests/unit/declarations/DeclaredOrder.h"

namespace {

using testing::ElementsAre;
using tests::ReadDeclaredClass;

std::vector<std::string> BasesOf(const std::string& header, const std::string& name) {
    std::vector<std::string> bases = ReadDeclaredClass(header, name).bases;
    // The count of living objects is no part of an interface.
    std::erase_if(bases, [](const std::string& base) { return base.find("Counted<") != std::string::npos; });
    return bases;
}

TEST(BaseOrder, EveryNamedInterfaceDerivesFromTheUnknown) {
    for (const std::string name :
         {"nxXISourceGUI", "nxXISourceProperties", "nxWebRtcRendererXI", "nxKestrelRendererXI",
          "nxXISourcePlugs", "nxVideoControlsXI", "nxAudioControlsXI", "nxXIAudioLiveDelay"}) {
        EXPECT_THAT(BasesOf("host/renderer/" + name + ".h", name), ElementsAre("xIUnknown")) << name;
    }
}

TEST(BaseOrder, OfTheFactoryIsComplete) {
    EXPECT_THAT(BasesOf("plugin/nxKestrelRenderersFactory.h", "nxKestrelRenderersFactory"),
                ElementsAre("nxRendererFactory2", "nxXISourceGUI", "nxXISourceProperties",
                            "nxWebRtcRendererXI", "nxKestrelRendererXI"));
}

TEST(BaseOrder, OfTheRenderersIsComplete) {
    EXPECT_THAT(BasesOf("renderers/nxWebRtcVideoRenderer.h", "nxWebRtcVideoRenderer"),
                ElementsAre("nxRenderer2", "nxXISourcePlugs", "nxVideoControlsXI"));
    EXPECT_THAT(BasesOf("renderers/nxWebRtcAudioRenderer.h", "nxWebRtcAudioRenderer"),
                ElementsAre("nxRenderer2", "nxXISourcePlugs", "nxAudioControlsXI", "nxXIAudioLiveDelay"));
}

TEST(BaseOrder, SessionsAndConnectionsAreSharedObjects) {
    EXPECT_THAT(BasesOf("session/nxWebRtcSession.h", "nxWebRtcSession"), ElementsAre("zSharedObject"));
    EXPECT_THAT(BasesOf("connection/nxWebRtcConnection.h", "nxWebRtcConnection"),
                ElementsAre("zSharedObject"));
    EXPECT_THAT(BasesOf("host/core/zSharedObject.h", "zSharedObject"),
                ElementsAre("std::enable_shared_from_this<zSharedObject>", "zObject"));
}

TEST(BaseOrder, ThePanelIsADynamicGlass) {
    EXPECT_THAT(BasesOf("panel/nxKestrelGlass.h", "nxKestrelGlass"), ElementsAre("eDynamicGlass"));
    EXPECT_THAT(BasesOf("host/ui/eDynamicGlass.h", "eDynamicGlass"), ElementsAre("eGlass"));
}

TEST(BaseOrder, RecordsAndBuffers) {
    EXPECT_THAT(BasesOf("host/core/zRecord.h", "zRecord"), ElementsAre("zVariable"));
    EXPECT_THAT(BasesOf("host/media/mdMediaRecord.h", "mdMediaRecord"), ElementsAre("zRecord"));
    EXPECT_THAT(BasesOf("host/media/nxBuffer2.h", "nxBuffer2"), ElementsAre("mdMediaRecord"));
}

TEST(BaseOrder, EveryWrapperClassIsAWrapperObject) {
    for (const std::string name :
         {"voCallback", "voCustomAudioDevice", "voRingBuffer", "voVideoBufferI420", "voMediaStreamInterface",
          "voVideoTrackInterface", "voVideoTrackSourceInterface", "voAudioTrackInterface",
          "voIceCandidateInterface", "voPeerConnectionInterface", "voPeerConnectionFactoryInterface",
          "voColorspaceConverter", "voDebug"}) {
        EXPECT_THAT(BasesOf("webrtc/" + name + ".h", name), ElementsAre("voObject")) << name;
    }
}

TEST(BaseOrder, WhatUsersImplementIsACallback) {
    const std::map<std::string, std::string> headers = {
        {"voPeerConnectionInterface::Observer", "webrtc/voPeerConnectionInterface.h"},
        {"voPeerConnectionInterface::StatsObserver", "webrtc/voPeerConnectionInterface.h"},
        {"voVideoTrackInterface::Sink", "webrtc/voVideoTrackInterface.h"},
        {"voAudioTrackInterface::Sink", "webrtc/voAudioTrackInterface.h"},
        {"voDebug::Logging", "webrtc/voDebug.h"}};
    for (const auto& [name, header] : headers)
        EXPECT_THAT(BasesOf(header, name), ElementsAre("voCallback")) << name;
}

}  // namespace
