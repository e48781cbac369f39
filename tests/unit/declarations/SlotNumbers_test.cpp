// The numbers of operations, counted along the chain of bases with the destructor once.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "tests/unit/declarations/DeclaredOrder.h"

namespace {

using tests::ReadDeclaredClass;

struct Declaration {
    const char* header;
    const char* name;
};

constexpr Declaration kUnknown = {"host/core/xIUnknown.h", "xIUnknown"};
constexpr Declaration kConcrete = {"host/core/xCUnknown.h", "xCUnknown"};
constexpr Declaration kRenderer = {"host/renderer/nxRenderer2.h", "nxRenderer2"};
constexpr Declaration kObject = {"host/core/zObject.h", "zObject"};
constexpr Declaration kWrapperObject = {"webrtc/voObject.h", "voObject"};

// Every operation of the last class, its bases' first.
std::vector<std::string> Slots(const std::vector<Declaration>& chain) {
    std::vector<std::string> slots;
    for (const Declaration& declaration : chain) {
        const auto declared = ReadDeclaredClass(declaration.header, declaration.name);
        slots.insert(slots.end(), declared.operations.begin(), declared.operations.end());
    }
    return slots;
}

void ExpectAt(const std::vector<std::string>& slots, const std::map<std::size_t, std::string>& expected) {
    for (const auto& [number, operation] : expected) {
        ASSERT_LT(number, slots.size()) << operation;
        EXPECT_EQ(slots[number], operation) << "slot " << number;
    }
}

TEST(SlotNumbers, OfTheRendererFactory) {
    const auto slots =
        Slots({kUnknown, kConcrete, {"host/renderer/nxRendererFactory2.h", "nxRendererFactory2"}});
    EXPECT_EQ(slots.size(), 23U);
    ExpectAt(slots, {{0, "QueryInterface"},
                     {1, "AddRef"},
                     {2, "Release"},
                     {3, "~"},
                     {4, "GetInterface"},
                     {5, "Concrete_QueryInterface"},
                     {6, "DeleteSelf"},
                     {7, "GetSourceTypeInfo"},
                     {8, "OffersSources"},
                     {9, "ActivateSource"},
                     {10, "SourceNotification"},
                     {11, "ForwardToSession"},
                     {12, "NewSource"},
                     {13, "ConnectDirect"},
                     {14, "CreateRenderer"},
                     {15, "ReleaseNotification"},
                     {16, "PresetCount"},
                     {17, "CurrentPreset"},
                     {18, "InputCount"},
                     {19, "CurrentInput"},
                     {20, "NeedsLicense"},
                     {21, "LatencyFrames"},
                     {22, "IsOffline"}});
}

TEST(SlotNumbers, OfTheFactorysOtherInterfaces) {
    ExpectAt(Slots({kUnknown, {"host/renderer/nxXISourceGUI.h", "nxXISourceGUI"}}), {{4, "CreateSourceGUI"}});
    ExpectAt(Slots({kUnknown, {"host/renderer/nxXISourceProperties.h", "nxXISourceProperties"}}),
             {{4, "HasProperty"}, {5, "GetProperty"}, {6, "PropertyChanged"}});
    ExpectAt(Slots({kUnknown, {"host/renderer/nxKestrelRendererXI.h", "nxKestrelRendererXI"}}),
             {{4, "PeerDiscovered"}, {5, "PeerLost"}});
    const auto slots = Slots({kUnknown, {"host/renderer/nxWebRtcRendererXI.h", "nxWebRtcRendererXI"}});
    EXPECT_EQ(slots.size(), 26U);
    ExpectAt(slots, {{4, "GetSessionUrl"},
                     {5, "StartSession"},
                     {6, "StopSession"},
                     {7, "SessionNotification"},
                     {8, "AddChangeListener"},
                     {9, "AddWithdrawListener"},
                     {10, "AddJoinListener"},
                     {11, "RemoveChangeListener"},
                     {12, "RemoveWithdrawListener"},
                     {13, "RemoveJoinListener"},
                     {14, "ConnectionCreated"},
                     {15, "ConnectionNotification"},
                     {16, "GetSessionGuid"},
                     {17, "PeerList"},
                     {18, "HasPeerList"},
                     {19, "ChatList"},
                     {20, "HasChatList"},
                     {21, "ListNotification"},
                     {22, "IsDirectMode"},
                     {23, "IsAddressInUse"},
                     {24, "SetTallyValue"},
                     {25, "ReleaseListener"}});
}

// Counted from 1, as the host counts them.
TEST(SlotNumbers, OfTheRenderers) {
    for (const Declaration& own :
         {Declaration{"renderers/nxWebRtcVideoRenderer.h", "nxWebRtcVideoRenderer"},
          Declaration{"renderers/nxWebRtcAudioRenderer.h", "nxWebRtcAudioRenderer"}}) {
        auto slots = Slots({kUnknown, kConcrete, kRenderer, own});
        EXPECT_EQ(slots.size(), 19U) << own.name;
        slots.insert(slots.begin(), "");
        ExpectAt(slots, {{1, "QueryInterface"},
                         {4, "~"},
                         {5, "GetInterface"},
                         {6, "Concrete_QueryInterface"},
                         {7, "DeleteSelf"},
                         {8, "OutputFormat"},
                         {9, "MediaType"},
                         {10, "Priority"},
                         {11, "PrepareToRender"},
                         {12, "FinishedRendering"},
                         {13, "BufferForParameters"},
                         {14, "CueTimestampForParameters"},
                         {15, "ApplySettings"},
                         {16, "Times"},
                         {17, "Suspend"},
                         {18, "Resume"}});
    }
    ExpectAt(
        Slots(
            {kUnknown, kConcrete, kRenderer, {"renderers/nxWebRtcVideoRenderer.h", "nxWebRtcVideoRenderer"}}),
        {{18, "OnVideoFrame"}});
    ExpectAt(
        Slots(
            {kUnknown, kConcrete, kRenderer, {"renderers/nxWebRtcAudioRenderer.h", "nxWebRtcAudioRenderer"}}),
        {{18, "OnAudioData"}});
}

TEST(SlotNumbers, OfTheRegistryAndTheNotification) {
    ExpectAt(Slots({{"host/core/zRefCount.h", "zRefCount"},
                    {"host/renderer/nxSourceRegistry.h", "nxSourceRegistry"}}),
             {{3, "Announce"}, {4, "Withdraw"}});
    EXPECT_THAT(Slots({{"host/renderer/nxHostNotification.h", "nxHostNotification"}}),
                testing::ElementsAre("~", "Notify"));
}

TEST(SlotNumbers, OfConnectionAndSocket) {
    EXPECT_THAT(Slots({kObject,
                       {"host/core/zSharedObject.h", "zSharedObject"},
                       {"connection/nxWebRtcConnection.h", "nxWebRtcConnection"}}),
                testing::ElementsAre("~", "SendOffer", "SendAnswer"));
    EXPECT_THAT(Slots({{"host/network/cWebSocket.h", "cWebSocket"}}),
                testing::ElementsAre("~", "open", "send", "close", "keepAlive"));
}

TEST(SlotNumbers, OfTheWrappersCallbacks) {
    ExpectAt(Slots({kWrapperObject,
                    {"webrtc/voCallback.h", "voCallback"},
                    {"webrtc/voPeerConnectionInterface.h", "voPeerConnectionInterface::Observer"}}),
             {{0, "~"},
              {1, "OnAddStream"},
              {2, "OnRemoveStream"},
              {3, "OnRenegotiationNeeded"},
              {4, "OnFailure"},
              {5, "OnIceCandidate"},
              {6, "OnOfferCreated"},
              {7, "OnAnswerCreated"},
              {8, "OnIceConnectionChange"},
              {9, "OnIceGatheringChange"},
              {10, "OnSignalingChange"}});
    const std::map<std::string, Declaration> firstOperations = {
        {"OnStatsDelivered",
         {"webrtc/voPeerConnectionInterface.h", "voPeerConnectionInterface::StatsObserver"}},
        {"OnFrame", {"webrtc/voVideoTrackInterface.h", "voVideoTrackInterface::Sink"}},
        {"OnData", {"webrtc/voAudioTrackInterface.h", "voAudioTrackInterface::Sink"}},
        {"OnLogLine", {"webrtc/voDebug.h", "voDebug::Logging"}}};
    for (const auto& [operation, declaration] : firstOperations) {
        EXPECT_THAT(Slots({kWrapperObject, {"webrtc/voCallback.h", "voCallback"}, declaration}),
                    testing::ElementsAre("~", operation));
    }
}

TEST(SlotNumbers, OfThePanel) {
    const auto slots = Slots({{"host/ui/eGlass.h", "eGlass"}});
    EXPECT_EQ(slots.size(), 34U);
    ExpectAt(slots, {{0, "~"},
                     {1, "SetOwnerSash"},
                     {2, "HasUnsavedChanges"},
                     {6, "State_CloseRequest"},
                     {7, "CanBecomeActive"},
                     {8, "Activate"},
                     {12, "SetUp"},
                     {13, "RemoveHandlers"},
                     {14, "HandleCommand"},
                     {15, "ShowSettings"},
                     {16, "TakeSettings"},
                     {17, "handle_Default"},
                     {19, "ReleaseNotification"},
                     {22, "WantsKeyboard"},
                     {24, "WindowModalAlert_Response"},
                     {25, "WindowModalRequest_Response"},
                     {26, "WindowModalCustom_Response"},
                     {27, "PreferredWidth"},
                     {28, "PopupWindowCustom_Response"},
                     {30, "SaveWindowInformation"},
                     {31, "EmbedIntoView"},
                     {32, "CreateView"},
                     {33, "PreferredHeight"}});
    EXPECT_THAT(ReadDeclaredClass("host/ui/eDynamicGlass.h", "eDynamicGlass").operations,
                testing::ElementsAre("DynGUI_handle_Slider"));
}

}  // namespace
