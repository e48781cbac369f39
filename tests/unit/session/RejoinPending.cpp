#include "tests/unit/session/RejoinPending.h"

#include "session/nxWebRtcSession.h"

namespace {

bool nxWebRtcSession::*rejoinPending = nullptr;

// Access rules do not apply to the arguments of an explicit instantiation.
template <bool nxWebRtcSession::*member>
struct Remember {
    Remember() { rejoinPending = member; }
    static const Remember done;
};
template <bool nxWebRtcSession::*member>
const Remember<member> Remember<member>::done;
template struct Remember<&nxWebRtcSession::rejoinPending>;

}  // namespace

namespace tests {

bool& RejoinPending(nxWebRtcSession& session) {
    return session.*rejoinPending;
}

}  // namespace tests
