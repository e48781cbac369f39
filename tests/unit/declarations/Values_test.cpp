// Numbers and layouts on which the host, the wrapper and the plug-in have to agree.
#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#include "connection/nxWebRtcConnection.h"
#include "connection/nxWebRtcStats.h"
#include "host/core/zStatus.h"
#include "host/media/mdMediaType.h"
#include "host/media/nxBuffer2.h"
#include "host/network/cWebSocket.h"
#include "host/renderer/nxRenderer2.h"
#include "host/renderer/nxSourceDescription.h"
#include "host/renderer/nxSourceTypeInfo.h"
#include "host/ui/eView.h"
#include "plugin/nxKestrelRenderersFactory.h"
#include "session/nxWebRtcSession.h"
#include "webrtc/voDebug.h"
#include "webrtc/voPeerConnectionFactoryInterface.h"
#include "webrtc/voSize.h"
#include "webrtc/voStats.h"
#include "webrtc/voStunServer.h"

namespace {

template <class Enum>
constexpr auto Number(Enum value) {
    return static_cast<std::underlying_type_t<Enum>>(value);
}

TEST(Values, FourCharacterCodesReadFromTheMostSignificantByteDown) {
    EXPECT_EQ(FourCC("type"), 0x74797065U);
    EXPECT_EQ(FourCC("mwid"), 0x6D776964U);
    EXPECT_EQ(FourCC("mhei"), 0x6D686569U);
    EXPECT_EQ(FourCC("mcol"), 0x6D636F6CU);
    EXPECT_EQ(FourCC("vidI"), 0x76696449U);
    EXPECT_EQ(FourCC("msmr"), 0x6D736D72U);
    EXPECT_EQ(FourCC("mcbu"), 0x6D636275U);
    EXPECT_EQ(FourCC("mcha"), 0x6D636861U);
    EXPECT_EQ(FourCC("mbps"), 0x6D627073U);
    EXPECT_EQ(FourCC("rams"), 0x72616D73U);
    EXPECT_EQ(FourCC("cBs0"), 0x63427330U);
    EXPECT_EQ(FourCC("fiEd"), 0x66694564U);
}

TEST(Values, MediaTypesAndPixelFormats) {
    EXPECT_EQ(kMediaTypeVideo, 0x7669646FU);
    EXPECT_EQ(kMediaTypeAudio, 0x6175646FU);
    EXPECT_EQ(kPixelFormatUYVY, 0x32767579U);
    EXPECT_EQ(kPixelFormatRGB, 0x72676220U);
}

TEST(Values, StatusAndTimestamps) {
    EXPECT_EQ(kStatusOk, 0);
    EXPECT_EQ(kStatusFailed, -1);
    EXPECT_EQ(sizeof(zStatus), 4U);
    EXPECT_EQ(nxBuffer2::kTimestampUnset, -1);
    EXPECT_EQ(eView::kAppend, 2147483647);
}

TEST(Values, OfTheSession) {
    EXPECT_EQ(Number(nxWebRtcSession::Mode::Direct), 100);
    EXPECT_EQ(Number(nxWebRtcSession::Mode::Rendezvous), 114);
    EXPECT_EQ(Number(cWebSocket::Error::ConnectFailed), 1);
    EXPECT_EQ(Number(cWebSocket::Error::Lost), 2);
    EXPECT_EQ(Number(cWebSocket::Error::Permanent), 3);
    EXPECT_EQ(Number(cWebSocket::Error::Protocol), 4);
}

TEST(Values, OfTheConnection) {
    using State = nxKestrelRenderersFactory::ConnectionState;
    EXPECT_EQ(Number(State::Connected), 0U);
    EXPECT_EQ(Number(State::Disconnected), 1U);
    EXPECT_EQ(nxWebRtcConnection::kLocalAudio, 1U);
    EXPECT_EQ(nxWebRtcConnection::kLocalVideo, 2U);
}

TEST(Values, OfTheWrapper) {
    using Factory = vo_webrtc::voPeerConnectionFactoryInterface;
    EXPECT_EQ(Factory::kGuidLength, 128);
    EXPECT_EQ(Factory::kNameLength, 128);
    EXPECT_TRUE((std::is_same_v<decltype(Factory::kGuidLength), const std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(Factory::kNameLength), const std::int32_t>));
    EXPECT_EQ(Number(vo_webrtc::voDebug::LogLevel::Info), 1U);
    EXPECT_EQ(Number(vo_webrtc::voDebug::LogLevel::None), 4U);
    EXPECT_TRUE((vo_webrtc::voSize{640, 480} == vo_webrtc::voSize{640, 480}));
    EXPECT_FALSE((vo_webrtc::voSize{640, 480} == vo_webrtc::voSize{641, 480}));
    EXPECT_TRUE((vo_webrtc::voSize{640, 480} != vo_webrtc::voSize{640, 481}));
    EXPECT_FALSE((vo_webrtc::voSize{640, 480} != vo_webrtc::voSize{640, 480}));
}

TEST(Layouts, OfTheWrappersRecords) {
    using vo_webrtc::voSize;
    using vo_webrtc::voStunServer;
    EXPECT_EQ(offsetof(voSize, width), 0U);
    EXPECT_EQ(offsetof(voSize, height), 4U);
    EXPECT_EQ(offsetof(voStunServer, url), 0U);
    EXPECT_EQ(offsetof(voStunServer, username), sizeof(char*));
    EXPECT_EQ(offsetof(voStunServer, password), 2 * sizeof(char*));
}

// In words of eight bytes: the codes, the time second, the bytes fourth.
template <class Record>
void ExpectLayoutOfStatistics() {
    EXPECT_EQ(offsetof(Record, stateCode1), 0U);
    EXPECT_EQ(offsetof(Record, stateCode2), 4U);
    EXPECT_EQ(offsetof(Record, timestampUs), 8U);
    EXPECT_EQ(offsetof(Record, counter1), 16U);
    EXPECT_EQ(offsetof(Record, bytesReceived), 24U);
    EXPECT_EQ(offsetof(Record, counter3), 32U);
    EXPECT_EQ(offsetof(Record, counter4), 40U);
    EXPECT_EQ(sizeof(Record), 48U);
    EXPECT_TRUE(std::is_trivially_copyable_v<Record>);
}

TEST(Layouts, OfTheStatistics) {
    ExpectLayoutOfStatistics<vo_webrtc::voStats>();
    ExpectLayoutOfStatistics<nxWebRtcStats>();
}

TEST(Layouts, OfTheHostsRecords) {
    EXPECT_EQ(offsetof(nx_renderer_params, presentationTimeUs), 0U);
    EXPECT_EQ(offsetof(nx_renderer_params, consumerKey), 8U);
    EXPECT_EQ(sizeof(nxRendererTimes), 24U);

    EXPECT_EQ(offsetof(nxSourceTypeInfo, typeIdentifier), 0U);
    EXPECT_LT(offsetof(nxSourceTypeInfo, typeIdentifier), offsetof(nxSourceTypeInfo, displayName));
    EXPECT_LT(offsetof(nxSourceTypeInfo, displayName), offsetof(nxSourceTypeInfo, canBeAdded));
    EXPECT_LT(offsetof(nxSourceTypeInfo, canBeAdded), offsetof(nxSourceTypeInfo, category));

    EXPECT_EQ(offsetof(nxSourceDescription, identifier), 0U);
    EXPECT_LT(offsetof(nxSourceDescription, identifier), offsetof(nxSourceDescription, displayName));
    EXPECT_LT(offsetof(nxSourceDescription, displayName), offsetof(nxSourceDescription, typeName));
    EXPECT_LT(offsetof(nxSourceDescription, typeName), offsetof(nxSourceDescription, typeIdentifier));
    EXPECT_LT(offsetof(nxSourceDescription, typeIdentifier), offsetof(nxSourceDescription, kind));
    EXPECT_LT(offsetof(nxSourceDescription, kind), offsetof(nxSourceDescription, category));
}

}  // namespace
