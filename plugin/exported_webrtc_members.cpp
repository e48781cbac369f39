// Emits the inline members of the WebRTC wrapper's classes that the plug-in exports beside its entry. Nothing
// calls this: naming a member, in a file that is built without optimisation, is what puts it into the
// library.
#include <utility>

#include "webrtc/voCallback.h"
#include "webrtc/voCustomAudioDevice.h"
#include "webrtc/voPeerConnectionFactoryInterface.h"
#include "webrtc/voRingBuffer.h"
#include "webrtc/voSize.h"
#include "webrtc/voVideoBufferI420.h"

namespace exported_webrtc_members {

template <class Class>
void NameCopiesAndMoves(Class& first, Class& second) {
    Class copy(first);  // and its destructor
    Class moved(std::move(second));
    first = copy;
    second = std::move(moved);
}

template void NameCopiesAndMoves(vo_webrtc::voObject&, vo_webrtc::voObject&);
template void NameCopiesAndMoves(vo_webrtc::voCallback&, vo_webrtc::voCallback&);
template void NameCopiesAndMoves(vo_webrtc::voCustomAudioDevice&, vo_webrtc::voCustomAudioDevice&);
template void NameCopiesAndMoves(vo_webrtc::voRingBuffer&, vo_webrtc::voRingBuffer&);
template void NameCopiesAndMoves(vo_webrtc::voVideoBufferI420&, vo_webrtc::voVideoBufferI420&);
template void NameCopiesAndMoves(vo_webrtc::voMediaStreamInterface&, vo_webrtc::voMediaStreamInterface&);
template void NameCopiesAndMoves(vo_webrtc::voVideoTrackInterface&, vo_webrtc::voVideoTrackInterface&);
template void NameCopiesAndMoves(vo_webrtc::voVideoTrackSourceInterface&,
                                 vo_webrtc::voVideoTrackSourceInterface&);
template void NameCopiesAndMoves(vo_webrtc::voAudioTrackInterface&, vo_webrtc::voAudioTrackInterface&);
template void NameCopiesAndMoves(vo_webrtc::voIceCandidateInterface&, vo_webrtc::voIceCandidateInterface&);
template void NameCopiesAndMoves(vo_webrtc::voPeerConnectionInterface&,
                                 vo_webrtc::voPeerConnectionInterface&);
template void NameCopiesAndMoves(vo_webrtc::voPeerConnectionFactoryInterface&,
                                 vo_webrtc::voPeerConnectionFactoryInterface&);

// The size has trivial copies, which leave no symbols.
bool NameSizeAndConstants(vo_webrtc::voSize& left, vo_webrtc::voSize& right, const std::int32_t*& constant) {
    constant = &vo_webrtc::voPeerConnectionFactoryInterface::kGuidLength;
    constant = &vo_webrtc::voPeerConnectionFactoryInterface::kNameLength;
    return left == right || left != right;
}

}  // namespace exported_webrtc_members
