#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/unit/declarations/DeclaredOrder.h"

namespace {

using testing::ElementsAre;
using tests::ReadDeclaredClass;

TEST(SlotOrder, BaseInterfaceBeginsWithQueryCountsAndDestructor) {
    EXPECT_THAT(ReadDeclaredClass("host/core/xIUnknown.h", "xIUnknown").operations,
                ElementsAre("QueryInterface", "AddRef", "Release", "~"));
}

TEST(SlotOrder, ConcreteObjectAddsInterfaceQueryAndDeleteSelf) {
    const auto declared = ReadDeclaredClass("host/core/xCUnknown.h", "xCUnknown");
    EXPECT_THAT(declared.bases, ElementsAre("xIUnknown", "zObject"));
    EXPECT_THAT(declared.operations, ElementsAre("GetInterface", "Concrete_QueryInterface", "DeleteSelf"));
}

TEST(SlotOrder, SourceRegistryHasAnnounceFourthAndWithdrawFifth) {
    EXPECT_THAT(ReadDeclaredClass("host/core/zRefCount.h", "zRefCount").operations,
                ElementsAre("AddRef", "Release", "~"));
    const auto declared = ReadDeclaredClass("host/renderer/nxSourceRegistry.h", "nxSourceRegistry");
    EXPECT_THAT(declared.bases, ElementsAre("zRefCount"));
    EXPECT_THAT(declared.operations, ElementsAre("Announce", "Withdraw"));
}

TEST(SlotOrder, RendererFactory) {
    const auto declared = ReadDeclaredClass("host/renderer/nxRendererFactory2.h", "nxRendererFactory2");
    EXPECT_THAT(declared.bases, ElementsAre("xCUnknown"));
    EXPECT_THAT(declared.operations,
                ElementsAre("GetSourceTypeInfo", "OffersSources", "ActivateSource", "SourceNotification",
                            "ForwardToSession", "NewSource", "ConnectDirect", "CreateRenderer",
                            "ReleaseNotification", "PresetCount", "CurrentPreset", "InputCount",
                            "CurrentInput", "NeedsLicense", "LatencyFrames", "IsOffline"));
}

TEST(SlotOrder, RendererInterface) {
    const auto declared = ReadDeclaredClass("host/renderer/nxRenderer2.h", "nxRenderer2");
    EXPECT_THAT(declared.bases, ElementsAre("xCUnknown"));
    EXPECT_THAT(declared.operations,
                ElementsAre("OutputFormat", "MediaType", "Priority", "PrepareToRender", "FinishedRendering",
                            "BufferForParameters", "CueTimestampForParameters", "ApplySettings", "Times",
                            "Suspend", "Resume"));
}

TEST(SlotOrder, FactoryImplementsItsInterfacesInOrder) {
    const auto declared =
        ReadDeclaredClass("plugin/nxKestrelRenderersFactory.h", "nxKestrelRenderersFactory");
    ASSERT_GE(declared.bases.size(), 5U);
    EXPECT_THAT(std::vector<std::string>(declared.bases.begin(), declared.bases.begin() + 5),
                ElementsAre("nxRendererFactory2", "nxXISourceGUI", "nxXISourceProperties",
                            "nxWebRtcRendererXI", "nxKestrelRendererXI"));
}

TEST(SlotOrder, SourceInterfaces) {
    EXPECT_THAT(ReadDeclaredClass("host/renderer/nxXISourceGUI.h", "nxXISourceGUI").operations,
                ElementsAre("CreateSourceGUI"));
    EXPECT_THAT(ReadDeclaredClass("host/renderer/nxXISourceProperties.h", "nxXISourceProperties").operations,
                ElementsAre("HasProperty", "GetProperty", "PropertyChanged"));
    EXPECT_THAT(ReadDeclaredClass("host/renderer/nxKestrelRendererXI.h", "nxKestrelRendererXI").operations,
                ElementsAre("PeerDiscovered", "PeerLost"));
    EXPECT_THAT(ReadDeclaredClass("host/renderer/nxWebRtcRendererXI.h", "nxWebRtcRendererXI").operations,
                ElementsAre("GetSessionUrl", "StartSession", "StopSession", "SessionNotification",
                            "AddChangeListener", "AddWithdrawListener", "AddJoinListener",
                            "RemoveChangeListener", "RemoveWithdrawListener", "RemoveJoinListener",
                            "ConnectionCreated", "ConnectionNotification", "GetSessionGuid", "PeerList",
                            "HasPeerList", "ChatList", "HasChatList", "ListNotification", "IsDirectMode",
                            "IsAddressInUse", "SetTallyValue", "ReleaseListener"));
}

TEST(SlotOrder, RendererExtensions) {
    EXPECT_THAT(ReadDeclaredClass("host/renderer/nxXISourcePlugs.h", "nxXISourcePlugs").operations,
                ElementsAre("PlugName", "IsAvailable"));
    EXPECT_THAT(ReadDeclaredClass("host/renderer/nxVideoControlsXI.h", "nxVideoControlsXI").operations,
                ElementsAre("IsVideoMuted", "SetVideoMuted"));
    EXPECT_THAT(ReadDeclaredClass("host/renderer/nxAudioControlsXI.h", "nxAudioControlsXI").operations,
                ElementsAre("IsAudioMuted", "SetAudioMuted", "IsAudioEnabled", "SetAudioEnabled"));
    EXPECT_THAT(ReadDeclaredClass("host/renderer/nxXIAudioLiveDelay.h", "nxXIAudioLiveDelay").operations,
                ElementsAre("SetLiveDelay", "GetLiveDelay", "HandlesLiveDelay", "SetLiveDelayWord",
                            "GetLiveDelayWord", "SetRamsValue", "GetRamsValue", "SetCbsValue"));
}

// The host's bases come first; a class may have more of its own behind them.
std::vector<std::string> FirstBases(const tests::DeclaredClass& declared, std::size_t count) {
    return {declared.bases.begin(),
            declared.bases.begin() + static_cast<std::ptrdiff_t>(std::min(count, declared.bases.size()))};
}

TEST(SlotOrder, RenderersImplementTheirInterfacesInOrder) {
    const auto video = ReadDeclaredClass("renderers/nxWebRtcVideoRenderer.h", "nxWebRtcVideoRenderer");
    EXPECT_THAT(FirstBases(video, 3), ElementsAre("nxRenderer2", "nxXISourcePlugs", "nxVideoControlsXI"));
    EXPECT_THAT(video.operations, ElementsAre("OnVideoFrame"));
    const auto audio = ReadDeclaredClass("renderers/nxWebRtcAudioRenderer.h", "nxWebRtcAudioRenderer");
    EXPECT_THAT(FirstBases(audio, 4),
                ElementsAre("nxRenderer2", "nxXISourcePlugs", "nxAudioControlsXI", "nxXIAudioLiveDelay"));
    EXPECT_THAT(audio.operations, ElementsAre("OnAudioData"));
}

TEST(SlotOrder, WebSocket) {
    EXPECT_THAT(ReadDeclaredClass("host/network/cWebSocket.h", "cWebSocket").operations,
                ElementsAre("~", "open", "send", "close", "keepAlive"));
}

TEST(SlotOrder, Connection) {
    EXPECT_THAT(ReadDeclaredClass("connection/nxWebRtcConnection.h", "nxWebRtcConnection").operations,
                ElementsAre("SendOffer", "SendAnswer"));
}

TEST(SlotOrder, PeerConnectionObserver) {
    EXPECT_THAT(ReadDeclaredClass("webrtc/voPeerConnectionInterface.h", "voPeerConnectionInterface::Observer")
                    .operations,
                ElementsAre("OnAddStream", "OnRemoveStream", "OnRenegotiationNeeded", "OnFailure",
                            "OnIceCandidate", "OnOfferCreated", "OnAnswerCreated", "OnIceConnectionChange",
                            "OnIceGatheringChange", "OnSignalingChange"));
}

TEST(SlotOrder, WrapperCallbacks) {
    EXPECT_THAT(
        ReadDeclaredClass("webrtc/voPeerConnectionInterface.h", "voPeerConnectionInterface::StatsObserver")
            .operations,
        ElementsAre("OnStatsDelivered"));
    EXPECT_THAT(ReadDeclaredClass("webrtc/voVideoTrackInterface.h", "voVideoTrackInterface::Sink").operations,
                ElementsAre("OnFrame"));
    EXPECT_THAT(ReadDeclaredClass("webrtc/voAudioTrackInterface.h", "voAudioTrackInterface::Sink").operations,
                ElementsAre("OnData"));
    EXPECT_THAT(ReadDeclaredClass("webrtc/voDebug.h", "voDebug::Logging").operations,
                ElementsAre("OnLogLine"));
    EXPECT_THAT(ReadDeclaredClass("webrtc/voObject.h", "voObject").operations, ElementsAre("~"));
}

}  // namespace
