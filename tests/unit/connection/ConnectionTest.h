// What the tests of a connection share: a fake wrapper and socket, and the lines of the trace.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "connection/nxWebRtcConnection.h"
#include "host_runtime/core/TraceOutput.h"
#include "host_runtime/media/BufferGroup.h"
#include "tests/fakes/FakeWebSocket.h"
#include "tests/fakes/webrtc/FakeWebRtc.h"

namespace tests {

struct TraceLine {
    zFourCC kind = 0;
    std::string text;
    friend bool operator==(const TraceLine&, const TraceLine&) = default;
};

// The host trace while it lives.
class TraceCapture {
public:
    TraceCapture() {
        host_runtime::SetTraceSink([this](zFourCC kind, const std::string& text) {
            lines.push_back({kind, text});
        });
    }
    ~TraceCapture() { host_runtime::SetTraceSink({}); }
    TraceCapture(const TraceCapture&) = delete;
    TraceCapture& operator=(const TraceCapture&) = delete;

    // All of the kind "note", which is checked.
    std::vector<std::string> Notes() const {
        std::vector<std::string> texts;
        for (const TraceLine& line : lines) {
            EXPECT_EQ(line.kind, FourCC("note"));
            texts.push_back(line.text);
        }
        return texts;
    }

private:
    std::vector<TraceLine> lines;
};

class ConnectionTest : public testing::Test {
protected:
    using Factory = vo_webrtc::voPeerConnectionFactoryInterface;

    ~ConnectionTest() override {
        group->Release();
        fakes::FakeWebRtc::Forget();
    }

    template <class Connection = nxWebRtcConnection>
    std::shared_ptr<Connection> Make(const std::string& iceServersText = "[]",
                                     const std::string& peersIdentifier = "phone-1") {
        return std::make_shared<Connection>(factory, socket, "name-1", "guid-1", peersIdentifier, "Petrel",
                                            iceServersText);
    }
    std::shared_ptr<nxWebRtcConnection> MakeStarted(const std::string& iceServersText = "[]") {
        auto connection = Make(iceServersText);
        connection->Start(nullptr, 0);
        return connection;
    }
    static std::shared_ptr<fakes::FakePeerConnection> Peer() {
        return fakes::FakeWebRtc::LatestPeerConnection();
    }
    static std::string AddressOf(const nxWebRtcConnection& connection) {
        std::ostringstream text;
        text << "0x" << std::hex << reinterpret_cast<std::uintptr_t>(&connection);
        return text.str();
    }

    host_runtime::BufferGroup* const group = host_runtime::BufferGroup::Make();
    vo_webrtc::voPointer<Factory> factory = Factory::Create(vo_webrtc::voCustomAudioDevice::Create());
    std::shared_ptr<fakes::FakeWebSocket> socket = std::make_shared<fakes::FakeWebSocket>();
};

}  // namespace tests
